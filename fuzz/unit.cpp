// fuzz/unit.cpp: the service in the fuzzer's own thread, and what must hold after every input.
#include "unit.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sanitizer/allocator_interface.h>
#include <sys/mount.h>
#include <unistd.h>

#include "core/hooks.h"
#include "support/private_machine.h"
#include "support/wire.h"

namespace fs = std::filesystem;

const std::string SECRET = "<secret/>";
static bool filesWritten;
static std::vector<std::string> usual; // what the first unit answered
static std::size_t memoryBefore;
static long descriptorsBefore;

extern "C" {

int fsync(int)
{
    filesWritten = true;
    return 0;
}

// As the C library's, except that both texts may be the same, as in gSOAP for an id that comes twice.
char *strncpy(char *to, const char *from, std::size_t size) noexcept
{
    for (std::size_t i = 0, end = size; i < size; ++i) {
        end = i < end && from[i] == '\0' ? i : end;
        to[i] = i < end ? from[i] : '\0';
    }
    return to;
}

} // extern "C"

bool filesAreWritten()
{
    return filesWritten;
}

static void writeFiles()
{
    for (const auto &entry : fs::directory_iterator("/mnt"))
        fs::remove_all(entry);
    for (const char *folder : {"/mnt/bf/webFiles", "/mnt/flash/cfgFiles", "/mnt/flash/log"})
        fs::create_directories(folder);
    for (const char *file : {"bf/webFiles/page.htm", "flash/cfgFiles/points.xml"})
        std::ofstream(std::string("/mnt/") + file) << SECRET;
    for (const char *file :
         {"bf/webFiles/index.htm", "bf/webFiles/QOPweb.htm", "flash/log/a.log", "flash/log/b.log"})
        std::ofstream(std::string("/mnt/") + file) << file;
    std::ofstream("/mnt/bf/webFiles/style.css") << std::string(300000, 'c');
    fs::create_hard_link("/mnt/flash/log/a.log", "/mnt/flash/cfgFiles/linked.xml");
    filesWritten = false;
}

static std::vector<std::string> askOrdinary()
{
    FakeHost host;
    installDefaultHooks();
    host.point = "4.2";
    std::vector<std::string> replies;
    const auto ask = [&](const std::string &bytes, int client = 9) {
        replies.push_back(exchange(Call{bytes, client}));
    };
    const std::string page = "/cfgFiles/points.xml";
    ask(get(page)); // it would be answered if the input's cookies were still there
    forgetSessions(context);
    const std::string fields = "<inputName>A</inputName><inputFormat>%g</inputFormat><inputType>";
    for (const std::string type : {"analog", "none"})
        ask(post(envelope("coreDbReadData", fields + type + "</inputType>", type == "none"), "",
                 "/", "text/xml"));
    ask(command("cgiLogin", "other"));
    const std::string named = cookieOf(replies.back());
    ask(get(page, named));
    ask(get(page, named), 8);
    ask(command("cgiLogout", "", named));
    forgetSessions(context);
    return replies;
}

static std::size_t memoryInUse()
{
#if __has_feature(address_sanitizer)
    return __sanitizer_get_current_allocated_bytes();
#else
    return 0;
#endif
}

static long descriptorsInUse()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
}

// Inputs may name any file, so all but /mnt and the working folder is read-only, without devices.
static bool leaveMachine()
{
    struct mount_attr closed = {}, writable = {};
    closed.attr_set = MOUNT_ATTR_RDONLY | MOUNT_ATTR_NODEV;
    writable.attr_clr = MOUNT_ATTR_RDONLY;
    const std::string here = fs::current_path();
    return enterPrivateMachine()
           && mount(here.c_str(), here.c_str(), nullptr, MS_BIND, nullptr) == 0
           && mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &closed, sizeof closed) == 0
           && mount_setattr(AT_FDCWD, "/mnt", 0, &writable, sizeof writable) == 0
           && mount_setattr(AT_FDCWD, here.c_str(), 0, &writable, sizeof writable) == 0
           && chdir(here.c_str()) == 0;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    must(leaveMachine(), "no machine of its own", strerror(errno));
    setbuf(stdout, nullptr); // the first line that a start prints would keep memory
    FakeHost host;
    openOnFreePort(context);
    writeFiles();
    usual = askOrdinary();
    const auto hasSecret = [](std::size_t reply) {
        return usual[reply].find(SECRET) != std::string::npos;
    };
    must(askOrdinary() == usual && usual[0].empty() && hasSecret(4) && !hasSecret(5),
         "no ordinary replies", usual[0] + usual[4] + usual[5]);
    return 0;
}

static void mustAnswerAsUsual()
{
    const std::vector<std::string> replies = askOrdinary();
    for (std::size_t i = 0; i < usual.size(); ++i)
        must(replies[i] == usual[i], "another client got another reply", replies[i]);
}

Unchanged::Unchanged()
{
    memoryBefore = memoryInUse();
    descriptorsBefore = descriptorsInUse();
}

Unchanged::~Unchanged()
{
    if (filesWritten)
        writeFiles();
    mustAnswerAsUsual();
    must(descriptorsInUse() == descriptorsBefore, "an open descriptor is left");
    must(memoryInUse() == memoryBefore, "memory is left",
         std::to_string(memoryInUse() - memoryBefore));
}

FreshUnit::FreshUnit(bool hostSecurity)
{
    host.cpuSecondsPerLook = 0; // the fuzzer's own time limit finds slow requests
    host.point = "4.2";
    host.sessionId = "host-session";
    host.names = {"one", "", "two"};
    host.namesCount = 3;
    hostSecurity ? installSecurityHooks() : installDefaultHooks();
}
