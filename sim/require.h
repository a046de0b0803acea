// sim/require.h: how the unit reports what it cannot go on with: it throws, and what() is a reason for
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
