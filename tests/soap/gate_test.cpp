// tests/soap/gate_test.cpp: who may call what: levels, verdicts, order of checks, input rules.
#include <gtest/gtest.h>

#include "session/thread_shared.h"
#include "soap/validation.h"
#include "support/fake_host.h"
#include "support/request.h"

static char ANALOG[] = "analog";
static char TEXT[] = "text";
static int ONE = 1;
static char *textResult;
static int intResult;

struct GatedOperation {
    const char *name;
    int level;
    int (*call)(struct soap *soap, char *text, char *type, int *number);
    bool gateFirst; // before the presence of fields, or nothing to be present
};

#define TEXT_CALL(...)                                                                             \
    [](struct soap *s, [[maybe_unused]] char *t, [[maybe_unused]] char *type,                      \
       [[maybe_unused]] int *n) { return __VA_ARGS__; }

static const GatedOperation GATED_OPERATIONS[] = {
    {"ns__coreDbReadData", 50,
     TEXT_CALL(ns__coreDbReadData(s, type, t, t ? t + 4 : t, &textResult)), false},
    {"ns__coreDbReadMultData", 50,
     TEXT_CALL(ns__coreDbReadMultData(s, type, t, t ? t + 4 : t, n, &textResult)), false},
    {"ns__thmGetInfo", 50, TEXT_CALL(ns__thmGetInfo(s, &textResult)), true},
    {"ns__baselineShowVer", 50, TEXT_CALL(ns__baselineShowVer(s, &textResult)), true},
    {"ns__getUserAuth", 50, TEXT_CALL(ns__getUserAuth(s, &intResult)), true},
    {"ns__getUsersList", 50, TEXT_CALL(ns__getUsersList(s, &textResult)), true},
    {"ns__getRolesList", 50, TEXT_CALL(ns__getRolesList(s, &textResult)), true},
    {"ns__getLockedUsers", 50, TEXT_CALL(ns__getLockedUsers(s, &textResult)), true},
    {"ns__getRolesListByUser", 50, TEXT_CALL(ns__getRolesListByUser(s, TEXT, &textResult)), true},
    {"ns__setUserRoles", 50, TEXT_CALL(ns__setUserRoles(s, TEXT, TEXT, &intResult)), true},
    {"ns__setUserPassword", 50, TEXT_CALL(ns__setUserPassword(s, TEXT, TEXT, &intResult)), true},
    {"ns__setUserLock", 50, TEXT_CALL(ns__setUserLock(s, TEXT, &ONE, &intResult)), true},
    {"ns__fnPut", 200, TEXT_CALL(ns__fnPut(s, t, t, t, t, &intResult)), true},
    {"ns__fnPutS", 200, TEXT_CALL(ns__fnPutS(s, t, t, t, t, n, &textResult)), true},
    {"ns__coreDbBlockPoint", 200, TEXT_CALL(ns__coreDbBlockPoint(s, type, t, n, &intResult)),
     false},
    {"ns__coreDbKrunchData", 200, TEXT_CALL(ns__coreDbKrunchData(s, type, t, t, &intResult)),
     false},
    {"ns__coreDbKrunchDataQuality", 200,
     TEXT_CALL(ns__coreDbKrunchDataQuality(s, type, t, t, t, &intResult)), false},
    {"ns__thmSetTime", 200, TEXT_CALL(ns__thmSetTime(s, t, &intResult)), false},
    {"ns__rtuReboot", 250, TEXT_CALL(ns__rtuReboot(s, t, t, &intResult)), false},
};

TEST(Gate, EveryOtherVerdictThanAllowedIsAFaultAndReachesNoHostFunction)
{
    static const struct {
        int verdict;
        const char *fault;
    } VERDICTS[] = {{2, "WebServer Error: Authentication error"},
                    {1, "WebServer Error: Not allowed"},
                    {0, "WebServer Error: Not allowed"},
                    {4, "WebServer Error: Not allowed"},
                    {-1, "WebServer Error: Not allowed"}};
    for (const GatedOperation &operation : GATED_OPERATIONS)
        for (const auto &row : VERDICTS) {
            SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(row.verdict));
            FakeHost fake;
            installSecurityHooks();
            fake.verdict = row.verdict;
            Request request;
            EXPECT_EQ(SOAP_FAULT, operation.call(request, TEXT, ANALOG, &ONE));
            EXPECT_EQ(operation.level, fake.askedLevel);
            EXPECT_EQ(row.fault, request.faultString());
            EXPECT_EQ(operation.name, request.faultDetail());
            EXPECT_TRUE(fake.calls().empty());
        }
}

TEST(Gate, ThatIsNotInstalledYetRefusesAsNotAuthenticated)
{
    for (const GatedOperation &operation : GATED_OPERATIONS) {
        FakeHost fake;
        installSecurityHooks();
        pgf_parseAuth = nullptr;
        Request request;
        EXPECT_EQ(SOAP_FAULT, operation.call(request, TEXT, ANALOG, &ONE)) << operation.name;
        EXPECT_EQ("WebServer Error: Authentication error", request.faultString());
    }
}

TEST(Gate, IsAskedAfterThePresenceOfFieldsAndBeforeTheirRules)
{
    for (const GatedOperation &operation : GATED_OPERATIONS) {
        SCOPED_TRACE(operation.name);
        FakeHost fake;
        installSecurityHooks();
        fake.verdict = 1;
        Request absent;
        EXPECT_EQ(SOAP_FAULT, operation.call(absent, nullptr, nullptr, nullptr));
        EXPECT_EQ(operation.gateFirst ? "WebServer Error: Not allowed"
                                      : "WebServer Error: Invalid parameters",
                  absent.faultString());
        EXPECT_EQ(operation.gateFirst ? operation.level : 0, fake.askedLevel);
        Request invalid; // its type is none
        EXPECT_EQ(SOAP_FAULT, operation.call(invalid, TEXT, TEXT, &ONE));
        EXPECT_EQ("WebServer Error: Not allowed", invalid.faultString());
    }
}

TEST(Validation, TextsPassByTheirBeginning)
{
    static const struct {
        const char *operation, *field, *value;
        int valid;
    } CASES[] = {
        {"ns__coreDbReadData", "inputType", "status", 1},
        {"ns__coreDbReadMultData", "inputType", "analogX", 1},
        {"ns__coreDbKrunchData", "inputType", "command", 1},
        {"ns__coreDbKrunchDataQuality", "inputType", "setPointX", 1},
        {"ns__coreDbBlockPointX", "inputTypeX", "setPoint", 1},
        {"ns__coreDbReadData", "inputType", "Status", 0},
        {"ns__coreDbReadData", "inputType", "statu", 0},
        {"ns__coreDbReadData", "inputType", "", 0},
        {"ns__coreDbReadData", "inputFormat", "%d", 1},
        {"ns__coreDbReadData", "inputFormat", "%u%s", 1},
        {"ns__coreDbReadData", "inputFormat", "%gX", 1},
        {"ns__coreDbReadData", "inputFormat", "", 1},
        {"ns__coreDbReadData", "inputFormat", "%f", 0},
        {"ns__coreDbReadData", "inputFormat", "%s", 0},
        {"ns__coreDbReadData", "inputFormat", "status", 0},
        {"ns__coreDbReadData", "inputName", "status", 0},
        {"ns__coreDbRead", "inputType", "status", 0},
        {"ns__fnPut", "inputType", "status", 0},
    };
    for (const auto &row : CASES)
        EXPECT_EQ(row.valid, wsInputStringValidation(row.operation, row.field, row.value))
            << row.operation << " " << row.field << " " << row.value;
}

TEST(Validation, NumbersHaveTheirOwnRanges)
{
    static const struct {
        const char *operation, *field;
        int value, valid;
    } CASES[] = {
        {"ns__coreDbReadMultData", "inputNum", 1, 1},
        {"ns__coreDbReadMultData", "inputNum", 0, 0},
        {"ns__coreDbReadMultData", "inputNum", -1, 0},
        {"ns__coreDbReadMultDataX", "inputNumX", 5000, 1},
        {"ns__coreDbReadMultData", "onOff", 1, 0},
        {"ns__coreDbBlockPoint", "onOff", 0, 1},
        {"ns__coreDbBlockPoint", "onOff", 1, 1},
        {"ns__coreDbBlockPoint", "onOff", 2, 0},
        {"ns__coreDbBlockPoint", "onOff", -1, 0},
        {"ns__coreDbBlockPoint", "inputNum", 1, 0},
    };
    for (const auto &row : CASES)
        EXPECT_EQ(row.valid, wsInputIntValidation(row.operation, row.field, row.value))
            << row.operation << " " << row.field << " " << row.value;
}
