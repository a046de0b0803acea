// sim/options.h: the command line.
#ifndef SIM_OPTIONS_H
#define SIM_OPTIONS_H

#include <string>

struct Options {
    std::string state;  // folder; empty: the default one
    std::string points; // file
    std::string coreDbVersion;
    bool hostSecurity;
};

// Sets the log level, and the library's environment variables from the options that were given; one
// that was not given leaves its variable alone. Returns true to go on; false to leave with
// *exitStatus, after help or a complaint.
bool readOptions(int argc, char **argv, Options *options, int *exitStatus);

#endif
