// sim/require.h: reports what stops the unit or a change: throws an error whose what() is a reason for
// people. main() prints it; a hook logs it and answers the client.
#ifndef SIM_REQUIRE_H
#define SIM_REQUIRE_H

#include <stdexcept>
#include <string>

inline void require(bool condition, const std::string &reason)
{
    if (!condition)
        throw std::runtime_error(reason);
}

#endif
