// sim/files.h: whole files: read at once, and replaced so that a power cut leaves the old or the new.
#ifndef SIM_FILES_H
#define SIM_FILES_H

#include <string>
#include <sys/types.h>

// Both return 0 or -1 with errno. The temporary file stands beside the other, with ".new" behind it.
int readFile(const std::string &path, std::string *text);
int replaceFile(const std::string &path, const std::string &text, mode_t mode);

#endif
