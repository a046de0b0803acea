// soap/clock_text.h: the clock as text, YY:MM:DD:hh:mm:ss in local time of the years 2000 to 2099.
#pragma once

#include <cstddef>
#include <ctime>

// Reads a clock text, which it changes. Returns false for a character other than digits and ":", for
// fewer than six fields, and for a field out of range. A run of ":" counts as one, a seventh field is
// ignored, and the day is not compared with the length of its month.
bool parseClock(char *text, struct tm *local);

// Writes "YY:MM:DD:hh:mm:ss|source".
void formatClock(char *text, std::size_t size, const struct tm &local, int source);
