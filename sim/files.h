// sim/files.h: reads the unit's data files, which are lists of JSON objects, and writes them as a
// whole. All functions throw on failure, with a reason for people; see require.h.
#ifndef SIM_FILES_H
#define SIM_FILES_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

// Reads a list of objects that have no other fields than these, and hands them to take in their order.
// Comments begin with //. Throws the path, the entry's number from 1 and the reason; take throws the
// reason alone.
void readEntries(const std::string &path, const std::vector<std::string> &fields,
                 const std::function<void(const nlohmann::json &entry)> &take);

// Returns a field of an entry, or an empty text if it is missing. Throws unless it is a plain text of
// limited length.
std::string textField(const nlohmann::json &entry, const char *field);

// Replaces a file so that a power cut leaves the old or the new one. Uses a temporary file beside it,
// with ".new" appended.
void replaceFile(const std::string &path, const std::string &text, mode_t mode);

#endif
