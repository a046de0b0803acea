// bench/ours.cpp: the library in the smallest host, for scripts/speed.
//
//   ours PORT      with WEB_DIR and CONFIG_DIR in the environment
#include <cstdlib>
#include <unistd.h>

#include "host.h"
#include "webServer.h"

int main(int argc, char **argv)
{
    installHost();
    if (argc != 2 || setenv("SERVER_PORT", argv[1], 1) != 0 || webServer_Web_Start() != 0)
        return 2;
    for (;;)
        pause();
}
