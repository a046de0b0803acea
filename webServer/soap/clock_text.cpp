// soap/clock_text.cpp: the clock as text, YY:MM:DD:hh:mm:ss in local time of the years 2000 to 2099.
#include "soap/clock_text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

struct ClockField {
    int tm::*member;
    int low, high; // of the text
    int offset;    // from the text to struct tm
};

static constexpr ClockField CLOCK_FIELDS[] = {
    {&tm::tm_year, 0, 99, 100}, // struct tm counts years from 1900
    {&tm::tm_mon,  1, 12, -1 },
    {&tm::tm_mday, 1, 31, 0  },
    {&tm::tm_hour, 0, 23, 0  },
    {&tm::tm_min,  0, 59, 0  },
    {&tm::tm_sec,  0, 59, 0  },
};

// Deliberate: strtok_r takes a run of colons as one, and whatever follows the sixth field is ignored.
bool parseClock(char *text, struct tm *local)
{
    if (text[strspn(text, "0123456789:")] != '\0')
        return false;
    *local = {};
    local->tm_isdst = -1; // unknown
    char *rest = text;
    for (const ClockField &field : CLOCK_FIELDS) {
        const char *digits = strtok_r(rest, ":", &rest);
        if (digits == nullptr)
            return false;
        const long value = strtol(digits, nullptr, 10);
        if (value < field.low || value > field.high)
            return false;
        local->*field.member = static_cast<int>(value) + field.offset;
    }
    return true;
}

void formatClock(char *text, std::size_t size, const struct tm &local, int source)
{
    const int year = local.tm_year < 100 ? local.tm_year : local.tm_year - 100;
    snprintf(text, size, "%02d:%02d:%02d:%02d:%02d:%02d|%d", year, local.tm_mon + 1, local.tm_mday,
             local.tm_hour, local.tm_min, local.tm_sec, source);
}
