// sim/options.h: the command line.
#ifndef SIM_OPTIONS_H
#define SIM_OPTIONS_H

#include <string>

struct Options {
    std::string points; // file
    std::string coreDbVersion;
    bool hostSecurity;
    std::string address; // to listen on, with the port
    int port;
};

// Sets the log level and, for each option given that the library reads from the environment, its
// variable. Ends the program itself for --help, --version and a wrong command line.
Options readOptions(int argc, char **argv);

#endif
