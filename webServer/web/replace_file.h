// web/replace_file.h: gives a file new content without losing the old one to a full device or a power cut.
#pragma once

#include "web/write_in_place.h"

// Replaces a file, or creates it: writes the new content to another file beside it, which it then
// renames. Keeps owner and mode. Writes in place when that is not possible, when there is room for the
// new content only without the old one, and what is not one plain file: links, files that have several
// names, files with an access list. When the content cannot be written, the old one stays, and one line
// is logged. Does nothing for a file that cannot be opened for writing. path is shorter than PATH_MAX.
void replaceFile(const char *path, const Content &content);
