// sim/options.h: the command line.
#ifndef SIM_OPTIONS_H
#define SIM_OPTIONS_H

#include <string>

// Sets the log level, and the library's environment variables from the options that were given; an
// option that was not given leaves its variable alone, and *stateFolder empty. Returns true to go on;
// false to leave with *exitStatus, after help or a complaint.
bool readOptions(int argc, char **argv, std::string *stateFolder, int *exitStatus);

#endif
