// tests/soap/user_admin_test.cpp: user administration and a caller's own rights, in both modes.
#include <cstring>
#include <gtest/gtest.h>

#include "support/fake_host.h"
#include "support/request.h"

static char USER[] = "u";
static char VALUE[] = "v";
static int ONE = 1;

// What a quiet refusal leaves: SOAP_OK, the default result, a fault on record.
static void expectQuiet(Request &request, int error, const char *fault)
{
    EXPECT_EQ(SOAP_OK, error) << fault;
    EXPECT_EQ(fault, request.faultString());
    EXPECT_TRUE(host().calls().empty());
    EXPECT_EQ(0, host().askedLevel) << "before the gate";
}

TEST(UserAdmin, WithoutTheHostsSecurityOrTheHookIsRefusedQuietly)
{
    for (const bool security : {false, true}) {
        FakeHost fake;
        installSecurityHooks();
        if (security) {
            pgf_ws_getUsersList = pgf_ws_getRolesList = pgf_ws_getLockedUsers = nullptr;
            pgf_ws_getRolesListByUser = nullptr;
            pgf_ws_setUserRoles = pgf_ws_setUserPassword = nullptr;
            pgf_ws_setUserLock = nullptr;
        } else {
            g_csEnabled = 0;
        }
        Request request;
        const char *fault = "WebServer Error: Not Executed";
        char *text = nullptr;
        int number = 0;
        expectQuiet(request, ns__getUsersList(request, &text), fault);
        expectQuiet(request, ns__getRolesList(request, &text), fault);
        expectQuiet(request, ns__getLockedUsers(request, &text), fault);
        expectQuiet(request, ns__getRolesListByUser(request, USER, &text), fault);
        expectQuiet(request, ns__setUserRoles(request, USER, VALUE, &number), fault);
        expectQuiet(request, ns__setUserLock(request, USER, &ONE, &number), fault);
        EXPECT_EQ(nullptr, text);
        EXPECT_EQ(0, number);
        expectQuiet(request, ns__setUserPassword(request, USER, VALUE, &number), fault);
        EXPECT_EQ(-1, number);
    }
}

TEST(UserAdmin, AbsentFieldsAreRefusedQuietlyWithTheOperationsOwnText)
{
    FakeHost fake;
    installSecurityHooks();
    Request request;
    char *text = nullptr;
    int number = 0;
    expectQuiet(request, ns__getRolesListByUser(request, nullptr, &text),
                "WebServer Error: ns__getRolesListByUser: userName is null");
    for (const auto &user : {USER, static_cast<char *>(nullptr)}) {
        char *other = user == nullptr ? VALUE : nullptr;
        expectQuiet(request, ns__setUserRoles(request, user, other, &number),
                    "WebServer Error: ns__getRolesListByUser: userName or rolesList are null");
        expectQuiet(request,
                    ns__setUserLock(request, user, user == nullptr ? &ONE : nullptr, &number),
                    "WebServer Error: ns__setUserLock: user name or lock state are null");
        EXPECT_EQ(0, number);
    }
    expectQuiet(request, ns__setUserPassword(request, USER, nullptr, &number),
                "WebServer Error: ns__setUserPassword: user name or password are null");
    EXPECT_EQ(-1, number);
    expectQuiet(request, ns__getUserLockState(request, USER, &number),
                "ewServer Security Error: getUserLockState: Unavailable");
}

TEST(UserAdmin, ListsAreJoinedFreedAndCut)
{
    const std::string name(100, 'x');
    const struct {
        std::vector<std::string> names;
        int count;
        std::string expected;
    } cases[] = {
        {{"alice", "", "bob"}, 3, "alice bob "},
        {{}, 0, ""},
        {{}, -1, ""},
        {{}, 3, ""}, // a count without a list
        {{"", ""}, 2, ""},
        {std::vector<std::string>(30, name), 30, ""}, // 20 names of 101 bytes, and 27 bytes
        {{std::string(2047, 'y'), "z"}, 2, std::string(2047, 'y')},
    };
    for (const auto &row : cases) {
        FakeHost fake;
        installSecurityHooks();
        fake.names = row.names;
        fake.namesCount = row.count;
        Request request;
        char *text = nullptr;
        EXPECT_EQ(SOAP_OK, ns__getUsersList(request, &text));
        if (row.count == 30) {
            EXPECT_EQ(2047U, strlen(text));
            EXPECT_EQ(name + " " + name.substr(0, 27), text + 19 * 101);
        } else {
            EXPECT_EQ(row.expected, text);
        }
    }
}

TEST(OwnRights, LevelAndVerdictDependOnTheMode)
{
    static const struct {
        int security, verdict;
        const char *authFault; // of getUserAuth; null: g_highLevel
        int permission;        // of getRbacPerm; 99: fault
    } CASES[] = {
        {0, 3, "WebServer Error: Authentication error", -1},
        {1, 3, nullptr, 3},
        {1, 2, "WebServer Error: Authentication error", 2},
        {1, 1, "WebServer Error: Not allowed", 1},
        {1, 0, "WebServer Error: Not allowed", 99},
        {1, 4, "WebServer Error: Not allowed", 99},
        {1, -1, "WebServer Error: Not allowed", 99},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(std::to_string(row.security) + " " + std::to_string(row.verdict));
        FakeHost fake;
        g_csEnabled = row.security;
        g_highLevel = 222;
        fake.verdict = row.verdict;
        Request request;
        int result = 0;
        EXPECT_EQ(row.authFault == nullptr ? SOAP_OK : SOAP_FAULT,
                  ns__getUserAuth(request, &result));
        if (row.authFault == nullptr) {
            EXPECT_EQ(222, result);
        } else {
            EXPECT_EQ(row.authFault, request.faultString());
        }
        EXPECT_EQ(row.permission == 99 ? SOAP_FAULT : SOAP_OK, ns__getRbacPerm(request, &result));
        EXPECT_EQ(row.permission == 99 ? -1 : row.permission, result);
    }
}
