// tests/support/private_machine.cpp: a private /mnt and loopback network for the process.
#include "support/private_machine.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

static bool raiseLoopback()
{
    struct ifreq request = {};
    strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const int any = socket(AF_INET, SOCK_DGRAM, 0);
    const bool raised = ioctl(any, SIOCSIFFLAGS, &request) == 0;
    close(any);
    return raised;
}

bool enterPrivateMachine()
{
    const int namespaces = CLONE_NEWNS | CLONE_NEWNET;
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(namespaces) != 0) {
        if (unshare(namespaces | CLONE_NEWUSER) != 0)
            return false;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
           && mount("tmpfs", "/mnt", "tmpfs", 0, nullptr) == 0
           && std::filesystem::create_directories("/mnt/bf/webFiles") // the default web root
           && raiseLoopback();
}
