// tests/main.cpp: runs the tests that are written in C++ and those that are written as cases.
#include <cstdio>
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/private_machine.h"

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    registerCases("soap", makeSoapDialect);
    for (const char *folder : {"web", "session"})
        registerCases(folder, makeWebDialect);
    if (!GTEST_FLAG_GET(list_tests) && !enterPrivateMachine()) {
        perror("no private /mnt or loopback network");
        return 1;
    }
    return RUN_ALL_TESTS();
}
