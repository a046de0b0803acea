// tests/main.cpp: runs the tests that are written in C++ and those that are written as cases.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/private_machine.h"

int main(int argc, char **argv)
{
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1); // the zone of all cases with a local time
    tzset();
    testing::InitGoogleTest(&argc, argv);
    registerCases("soap", makeSoapDialect);
    for (const char *folder : {"gsoap", "session", "web"})
        registerCases(folder, makeWebDialect);
    if (!GTEST_FLAG_GET(list_tests) && !enterPrivateMachine()) {
        perror("no private /mnt or loopback network");
        return 1;
    }
    return RUN_ALL_TESTS();
}
