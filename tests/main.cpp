// tests/main.cpp: runs the tests that are written in C++ and those that are written as cases.
#include <gtest/gtest.h>

void registerCases();

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    registerCases();
    return RUN_ALL_TESTS();
}
