// tests/web/replace_file_test.cpp: what an upload leaves on a small device when its steps fail.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "support/cases.h"
#include "support/fake_host.h"
#include "web/file_rules.h"
#include "web/replace_file.h"

namespace fs = std::filesystem;
using namespace std::string_literals;

static const std::string DEVICE = "/mnt/device/", FOLDER = DEVICE + "folder/",
                         OTHER = DEVICE + "other";
static const std::string TARGET = FOLDER + "site.log.xml", BESIDE = FOLDER + "site&log&xml&new";

// The calls that replaceFile has made, in order; the names and contents that it had; the call that fails.
static std::string calls, besideName, targetAtRename;
static const char *failingCall = "";
static int failure = 0;

static bool fails(const std::string &call)
{
    calls += calls.empty() ? call : " " + call;
    errno = failure;
    return calls == failingCall;
}

extern "C" {

int fsync(int file)
{
    struct stat status = {};
    fstat(file, &status);
    return fails(S_ISDIR(status.st_mode) ? "folder" : "sync") ? -1 : 0; // tmpfs has nothing to sync
}

int fchown(int file, uid_t owner, gid_t group)
{
    struct stat status = {};
    fstat(file, &status);
    EXPECT_EQ(S_IFREG | 0600, status.st_mode) << "until it has the old file's owner and mode";
    return fails("owner") ? -1 : static_cast<int>(syscall(SYS_fchown, file, owner, group));
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to)
{
    besideName = from;
    targetAtRename = content(TARGET);
    return fails("rename") ? -1 : renameat2(fromFolder, from, toFolder, to, 0);
}
}

struct Upload {
    const char *name;
    int oldSize; // -1: no file; the device has room for 16 KiB in blocks of 4
    int newSize;
    const char *failingCall; // the calls up to the one that fails
    int failure;
    const char *calls;
    char target; // afterwards: 'o'ld, 'n'ew, '-' none
    const char *log;
    void (*prepare)() = [] {};
};

// An access list: version 2, then tag, rights and id of the owner, user 0, the group, the mask and the
// others.
static const char ACCESS_LIST[] = "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\6\0\0\0\0\0"
                                  "\4\0\4\0\xff\xff\xff\xff\x10\0\6\0\xff\xff\xff\xff"
                                  "\x20\0\0\0\xff\xff\xff\xff";
static void listAccess(const std::string &path, const char *kind)
{
    EXPECT_EQ(0, setxattr(path.c_str(), kind, ACCESS_LIST, sizeof ACCESS_LIST - 1, 0))
        << strerror(errno);
}
static void mountAnother()
{
    std::ofstream(OTHER) << content(TARGET);
    EXPECT_EQ(0, mount(OTHER.c_str(), TARGET.c_str(), nullptr, MS_BIND, nullptr));
}
static void linkTwice()
{
    fs::create_hard_link(TARGET, OTHER);
}
static void linkToOther()
{
    if (fs::exists(TARGET))
        fs::rename(TARGET, OTHER);
    fs::create_symlink(OTHER, TARGET);
}

static const char RENAMED[] = "owner sync rename folder", IN_PLACE[] = "owner sync sync sync";
static const char FULL[] = "No space left on device; not written";
static const char FULL_IN_PLACE[] = "No space left on device; written in place";
static const char FAILED[] = "Input/output error; not written";
static const Upload UPLOADS[] = {
    {"replaced", 5000, 3000, "", 0, RENAMED, 'n', "",
     [] {
         chmod(TARGET.c_str(), 01640);
         if (chown(TARGET.c_str(), 12, 34) != 0)
             perror("owner not tested"); // the user namespace maps only one user
     }},
    {"emptied", 5000, 0, "", 0, RENAMED, 'n', ""},
    {"created", -1, 3000, "", 0, "sync rename folder", 'n', ""},
    {"half a file left", 5000, 8000, "", 0, RENAMED, 'n', "",
     [] { std::ofstream(BESIDE) << std::string(8192, 'h'); }},
    {"planted link", 5000, 3000, "", 0, RENAMED, 'n', "",
     [] {
         std::ofstream(OTHER) << "other";
         fs::create_symlink(OTHER, BESIDE);
     }},
    {"no room to create", -1, 30000, "", 0, "", '-', FULL},
    {"no room at all", 5000, 30000, "", 0, "owner", 'o', FULL},
    {"room in place", 5000, 12000, "", 0, IN_PLACE, 'n', FULL_IN_PLACE},
    {"room in place, shorter", 12000, 9000, "", 0, IN_PLACE, 'n', FULL_IN_PLACE},
    {"no room after sync", 5000, 3000, "owner sync", ENOSPC, "owner sync sync sync sync", 'n',
     FULL_IN_PLACE},
    {"device fails", 5000, 3000, "owner sync", EIO, "owner sync", 'o', FAILED},
    {"device cannot sync", 5000, 3000, "owner sync", EINVAL, RENAMED, 'n', ""},
    {"folder fails", 5000, 3000, RENAMED, EIO, RENAMED, 'n', "Input/output error; written"},
    {"owner not kept", 5000, 3000, "owner", EPERM, IN_PLACE, 'n', ""},
    {"access list", 5000, 3000, "", 0, "sync sync sync", 'n', "",
     [] { listAccess(TARGET, "system.posix_acl_access"); }},
    {"folder gives one", 5000, 3000, "", 0, IN_PLACE, 'n', "",
     [] { listAccess(FOLDER, "system.posix_acl_default"); }},
    {"mounted file", 3000, 4000, "", 0, "owner sync rename sync sync sync", 'n',
     "Device or resource busy; written in place", mountAnother},
    {"read-only file", 3000, 4000, "", 0, "", 'o', "",
     [] {
         mountAnother();
         const unsigned long readOnly = MS_BIND | MS_REMOUNT | MS_RDONLY;
         EXPECT_EQ(0, mount(nullptr, TARGET.c_str(), nullptr, readOnly, nullptr));
     }},
    {"beside not possible", 5000, 3000, "", 0, "sync sync sync", 'n', "",
     [] { fs::create_directory(BESIDE); }},
    {"two names", 5000, 3000, "", 0, "sync sync sync", 'n', "", linkTwice},
    {"two names, no room", 5000, 30000, "", 0, "", 'o', FULL, linkTwice},
    {"two names, device fails", 5000, 8000, "sync sync", EIO, "sync sync sync", 'o', FAILED,
     linkTwice},
    {"link", 5000, 3000, "", 0, "sync sync sync", 'n', "", linkToOther},
    {"link to nothing", -1, 3000, "", 0, "sync sync sync", 'n', "", linkToOther},
    {"link to nothing, no room", -1, 30000, "", 0, "", '-', FULL, linkToOther},
    {"a folder", -1, 3000, "", 0, "", '-', "", [] { fs::create_directory(TARGET); }},
};

TEST(ReplaceFile, LosesNeitherTheOldContentNorOwnerModeAndLinks)
{
    const mode_t mask = umask(0002);
    for (const Upload &row : UPLOADS) {
        SCOPED_TRACE(row.name);
        FakeHost fake;
        fs::create_directory(DEVICE);
        ASSERT_EQ(0, mount("tmpfs", DEVICE.c_str(), "tmpfs", 0, "size=16k"));
        fs::create_directory(FOLDER);
        const std::string oldContent(static_cast<std::size_t>(std::max(row.oldSize, 0)), 'o');
        const std::string newContent(static_cast<std::size_t>(row.newSize), 'n');
        if (row.oldSize >= 0)
            std::ofstream(TARGET) << oldContent;
        row.prepare();
        struct stat before = {}, after = {};
        stat(TARGET.c_str(), &before);

        calls = "";
        failingCall = row.failingCall;
        failure = row.failure;
        replaceFile(TARGET.c_str(), {newContent.data(), newContent.size()});
        failingCall = "";

        EXPECT_EQ(row.calls, calls);
        EXPECT_EQ(*row.log == '\0' ? ""
                                   : "E webServer: upload of " + TARGET + ": " + row.log + "\n",
                  fake.log());
        EXPECT_EQ(row.target != '-', fs::is_regular_file(TARGET));
        EXPECT_TRUE(content(TARGET) == (row.target == 'n' ? newContent : oldContent));
        stat(TARGET.c_str(), &after);
        EXPECT_TRUE(row.oldSize >= 0 || row.target != 'n' || after.st_mode == (S_IFREG | 0664));
        if (row.oldSize >= 0) {
            EXPECT_EQ(calls.rfind("rename folder") == std::string::npos,
                      before.st_ino == after.st_ino);
            EXPECT_EQ(std::tie(before.st_mode, before.st_uid, before.st_gid),
                      std::tie(after.st_mode, after.st_uid, after.st_gid));
        }
        EXPECT_EQ(row.name == "beside not possible"s, fs::exists(BESIDE));
        EXPECT_TRUE(row.name != "planted link"s || content(OTHER) == "other");
        EXPECT_TRUE(row.prepare != linkTwice || content(OTHER) == content(TARGET));
        umount2(TARGET.c_str(), 0);
        umount2(DEVICE.c_str(), 0);
    }
    umask(mask);
}

// A power cut just before the rename leaves two whole files, of which the new one is not served.
TEST(ReplaceFile, WritesBesideUnderANameThatNothingServesAndNoUploadHas)
{
    FakeHost fake;
    fs::create_directories(FOLDER);
    std::ofstream(TARGET) << "old";
    replaceFile(TARGET.c_str(), {"new", 3});
    EXPECT_EQ("old", targetAtRename);
    EXPECT_EQ(BESIDE, FOLDER + besideName);
    EXPECT_EQ(nullptr, findFileRule(("/" + besideName).c_str(), ("/" + besideName).c_str()));
    EXPECT_EQ(nullptr, strstr(besideName.c_str(), ".log"));
    EXPECT_NE(nullptr, strchr(besideName.c_str(), '&'));
    replaceFile((DEVICE + "no\n\x7f/x.xml").c_str(), {"", 0});
    EXPECT_EQ("", fake.log()) << "what cannot be opened is not logged";
    failingCall = "sync";
    failure = EIO;
    calls = "";
    replaceFile((FOLDER + "a\n\x7f.xml").c_str(), {"", 0});
    EXPECT_EQ("E webServer: upload of " + FOLDER + "a??.xml: Input/output error; not written\n",
              fake.log());
    failingCall = "";
}
