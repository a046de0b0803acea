// tests/soap/core_db_test.cpp: reads and writes of points, the interlock and the version check.
#include <cstring>
#include <gtest/gtest.h>

#include "soap/local_remote.h"
#include "support/fake_host.h"
#include "support/request.h"

static char ANALOG[] = "analog";
static char NO_FORMAT[] = "";

static int readOne(struct soap *soap, char *type, char *name, char **result)
{
    return ns__coreDbReadData(soap, type, name, NO_FORMAT, result);
}

TEST(ReadData, TurnsTheHostsResultIntoATextOrAFault)
{
    static const struct {
        int result;
        const char *fault, *detail;
    } CASES[] = {
        {1, "WebServer Error: Object read error",
         "Object type analog name A&lt;&amp;&gt;? not found"},
        {2, "WebServer Error: Object read error",
         "Object type analog name A&lt;&amp;&gt;? read error"},
        {3, "WebServer Error: Object type error", "Object type analog does not exit"},
        {4, "WebServer Error: Unknown error", "Error: 4"},
        {-1, "WebServer Error: Unknown error", "Error: -1"},
    };
    for (const auto &row : CASES) {
        FakeHost fake;
        fake.read = [&](const char *, char *) { return row.result; };
        Request request;
        char *text = nullptr;
        EXPECT_EQ(SOAP_FAULT, readOne(request, ANALOG, request.change("A<&>\x01"), &text));
        EXPECT_EQ(row.fault, request.faultString());
        EXPECT_EQ(row.detail, request.faultDetail());
        EXPECT_EQ(nullptr, text);
    }
    FakeHost fake; // that writes nothing: the buffer started empty
    Request request;
    char *text = nullptr;
    EXPECT_EQ(SOAP_OK, readOne(request, ANALOG, request.change("A"), &text));
    EXPECT_STREQ("", text);
}

TEST(ReadData, CutsALongDetailBeforeItIsEscaped)
{
    FakeHost fake;
    fake.read = [](const char *, char *) { return 1; };
    const std::string intro = "Object type analog name ";
    Request ascii;
    char *text = nullptr;
    readOne(ascii, ANALOG, ascii.change(std::string(5000, '<')), &text);
    const std::string detail = ascii.faultDetail();
    EXPECT_EQ(intro.size() + 4 * (1023 - intro.size()), detail.size());
    EXPECT_EQ("&lt;", detail.substr(detail.size() - 4));

    Request euros; // three bytes each, so that the cut falls inside one
    std::string name = "x";
    for (int i = 0; i < 1000; ++i)
        name += "\xE2\x82\xAC";
    readOne(euros, ANALOG, euros.change(name), &text);
    EXPECT_EQ("\xE2\x82\xAC", euros.faultDetail().substr(euros.faultDetail().size() - 3));
}

TEST(ReadMultData, ReadsAsManyNamesAsAskedFor)
{
    const std::string formatError = "WebServer Error: input string format error";
    const std::string invalid = "WebServer Error: Invalid parameters";
    const struct {
        const char *names;
        int number;
        std::string text, fault;
    } cases[] = {
        {"[A][B][C]", 3, "[A][B][C]", ""},
        {"[A][bad][C]", 3, "[A][X|X][C]", ""},
        {"[A][B]", 1, "[A]", ""},
        {"[]", 1, "[]", ""},
        {"[A]trailing", 1, "[A]", ""},
        {"[A][B]", 3, "", formatError},
        {"[A] [B]", 2, "", formatError},
        {" [A]", 1, "", formatError},
        {"[A", 1, "", formatError},
        {"", 1, "", formatError},
        {"[A]", 0, "", invalid},
        {"[A]", -1, "", invalid},
        {"[A]", 1001, "", "WebServer Error: trying to read more than 1000 points"},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(std::string(row.names) + " " + std::to_string(row.number));
        FakeHost fake;
        fake.read = [](const char *name, char *text) {
            strcpy(text, name);
            return strcmp(name, "bad") == 0 ? 1 : 0;
        };
        Request request;
        char *text = nullptr;
        int number = row.number;
        const int error = ns__coreDbReadMultData(request, ANALOG, request.change(row.names),
                                                 NO_FORMAT, &number, &text);
        EXPECT_EQ(row.fault.empty() ? SOAP_OK : SOAP_FAULT, error);
        if (error == SOAP_OK) {
            EXPECT_EQ(row.text, text);
            continue;
        }
        EXPECT_EQ(row.fault, request.faultString());
        EXPECT_EQ(row.fault == invalid ? "ns__coreDbReadMultData" : "(none)",
                  request.faultDetail());
    }
}

TEST(ReadMultData, CutsTextsThatDoNotFitAndKeepsAFormatErrorWhole)
{
    FakeHost fake;
    fake.read = [](const char *, char *text) { return memset(text, 'x', 312), 0; }; // unterminated
    std::string names;
    for (int i = 0; i < 1000; ++i)
        names += "[A]";
    for (int number : {1, 2, 1000}) {
        Request request;
        char *text = nullptr;
        EXPECT_EQ(SOAP_OK, ns__coreDbReadMultData(request, ANALOG, request.change(names), NO_FORMAT,
                                                  &number, &text));
        EXPECT_EQ(static_cast<std::size_t>(number) * 64 - 1, strlen(text));
    }
    EXPECT_EQ(1003U, fake.calls().size());
    Request request;
    char *text = nullptr;
    int number = 2;
    ns__coreDbReadMultData(request, ANALOG, request.change("[A]"), NO_FORMAT, &number, &text);
    EXPECT_EQ("WebServer Error: input string format error", request.faultString());
}

TEST(Interlock, RefusesCommandsAndSetPointsOfAUnitUnderLocalControl)
{
    static const struct {
        const char *type;
        int remote;
        const char *answer;
        int answerStatus, refused;
    } CASES[] = {
        {"command", 1, "L", 0, 1},  {"setPoint", 1, "L", 0, 1}, {"command", 1, "U", 0, 1},
        {"command", 1, "R", 0, 0},  {"command", 1, "", 0, 0},   {"command", 1, "L", -1, 0},
        {"command", 0, "L", 0, 0},  {"command", 2, "L", 0, 0},  {"setPointX", 1, "L", 0, 0},
        {"commands", 1, "L", 0, 0}, {"analog", 1, "L", 0, 0},   {"status", 1, "L", 0, 0},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(std::string(row.type) + std::to_string(row.remote) + row.answer);
        FakeHost fake;
        fake.status = 5;
        fake.answer = row.answer;
        fake.answerStatus = row.answerStatus;
        g_webRemote = row.remote;
        EXPECT_EQ(row.refused, checkLocalRemote(row.type));

        Request request;
        int plain = -1, quality = -1, block = -1, on = 1;
        char *type = request.change(row.type), *name = request.change("A"), *value = name;
        EXPECT_EQ(SOAP_OK, ns__coreDbKrunchData(request, type, name, value, &plain));
        EXPECT_EQ(SOAP_OK,
                  ns__coreDbKrunchDataQuality(request, type, name, value, value, &quality));
        EXPECT_EQ(SOAP_OK, ns__coreDbBlockPoint(request, type, name, &on, &block));
        const int expected = row.refused == 1 ? 1 : 5;
        EXPECT_EQ(expected, plain);
        EXPECT_EQ(expected, quality);
        EXPECT_EQ(5, block) << "blocking has no interlock";
        for (const std::string &call : fake.calls())
            EXPECT_TRUE(row.refused == 0 || call.rfind("x_krunch", 0) != 0) << call;
    }
    FakeHost fake;
    checkLocalRemote("command");
    EXPECT_EQ((std::vector<std::string>{"fnPutS(coreDb,,getLR,,1,0)"}), fake.calls());
}

TEST(KrunchDataQuality, NeedsACoreDatabaseOfVersionTenOrLater)
{
    static const struct {
        const char *version, *fault;
    } CASES[] = {
        {"coreDb: 10.00", nullptr},
        {"12345678100a", nullptr},
        {"12345678990a", nullptr},
        {"coreDb: 10.", "Invalid coreDb version"},
        {"", "Invalid coreDb version"},
        {nullptr, "Invalid coreDb version"},
        {"coreDb: 09.0", "Web service not supported for this coreDb version"},
        {"coreDb: xx.0", "Web service not supported for this coreDb version"},
        {"coreDb: 1x.0", "Web service not supported for this coreDb version"},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.version == nullptr ? "null" : row.version);
        FakeHost fake;
        fake.coreDbVersion = row.version;
        Request request;
        char *value = request.change("1");
        int result = 0;
        EXPECT_EQ(row.fault == nullptr ? SOAP_OK : SOAP_FAULT,
                  ns__coreDbKrunchDataQuality(request, ANALOG, value, value, value, &result));
        EXPECT_EQ(row.fault == nullptr ? 1U : 0U, fake.calls().size());
        if (row.fault != nullptr) {
            EXPECT_EQ(row.fault, request.faultString());
            EXPECT_EQ("ns__coreDbKrunchDataQuality", request.faultDetail());
        }
    }
}

TEST(BlockPoint, TakesOnlyZeroAndOne)
{
    for (int onOff : {-1, 0, 1, 2}) {
        FakeHost fake;
        Request request;
        char *name = request.change("A");
        int result = 0;
        const bool valid = onOff == 0 || onOff == 1;
        EXPECT_EQ(valid ? SOAP_OK : SOAP_FAULT,
                  ns__coreDbBlockPoint(request, ANALOG, name, &onOff, &result));
        EXPECT_EQ(valid ? 1U : 0U, fake.calls().size());
    }
}
