// tests/main.cpp: runs the tests that are written in C++ and those that are written as cases, in a
// mount namespace with a /mnt of their own: the unit's fixed folders belong to the machine.
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

void registerSoapCases();
void registerWebCases();

static bool hideMnt()
{
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0)
            return false;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
           && mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) == 0;
}

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    registerSoapCases();
    registerWebCases();
    if (!GTEST_FLAG_GET(list_tests) && !hideMnt()) {
        perror("no private /mnt for the tests");
        return 1;
    }
    return RUN_ALL_TESTS();
}
