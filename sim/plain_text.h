// sim/plain_text.h: text that is safe to show in one line of a terminal, a log or XML.
#ifndef SIM_PLAIN_TEXT_H
#define SIM_PLAIN_TEXT_H

#include <string>

// Replaces by "?" what steers a terminal, ends a line, turns the direction of writing or is unknown
// to XML. Text that needs no such change is plain.
std::string plainText(std::string text);

// Returns a client's text for a line of the log: in quotes, cut, and with each quote inside replaced by '.
std::string inQuotes(const std::string &text);

#endif
