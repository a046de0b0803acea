// sim/port.h: tries the port before the library does. The library's failed bind reboots a unit, and here it
// would bury the reason among lines about that.
#ifndef SIM_PORT_H
#define SIM_PORT_H

#include <string>

// Throws if the unit cannot listen on the port, with the reason. Leaves it to the library to refuse what is
// no IPv4 address or no port.
void requirePort(const std::string &address, int port);

#endif
