// tests/soap/device_test.cpp: function containers, reboot, versions and the clock.
#include <gtest/gtest.h>

#include "support/fake_host.h"
#include "support/request.h"

TEST(FnPutS, BoundsTheAnswerAndChecksItsTimeoutAfterTheGate)
{
    FakeHost fake;
    Request request;
    char *text = nullptr;
    int timeout = 9;
    EXPECT_EQ(SOAP_OK, ns__fnPutS(request, nullptr, nullptr, nullptr, nullptr, &timeout, &text));
    EXPECT_STREQ("", text) << "the host wrote nothing";
    EXPECT_EQ("fnPutS(null,null,null,null,128,9)", fake.calls().back());

    fake.answer = std::string(128, 'x'); // all of it, without a terminator
    ns__fnPutS(request, nullptr, nullptr, nullptr, nullptr, &timeout, &text);
    EXPECT_EQ(std::string(127, 'x'), text);

    fake.answerStatus = -1;
    EXPECT_EQ(SOAP_FAULT, ns__fnPutS(request, nullptr, nullptr, nullptr, nullptr, &timeout, &text));
    EXPECT_EQ("WebServer Error: invalid returned value", request.faultString());
    EXPECT_EQ("ns__fnPutS", request.faultDetail());

    EXPECT_EQ(SOAP_FAULT, ns__fnPutS(request, nullptr, nullptr, nullptr, nullptr, nullptr, &text));
    EXPECT_EQ("WebServer Error: Invalid parameters", request.faultString());
    EXPECT_EQ(3U, fake.calls().size());
}

TEST(RtuReboot, NeedsItsFieldsButNotWhatTheySay)
{
    FakeHost fake;
    Request request;
    char empty[] = "";
    int result = 0;
    EXPECT_EQ(SOAP_OK, ns__rtuReboot(request, empty, empty, &result));
    EXPECT_EQ(SOAP_FAULT, ns__rtuReboot(request, empty, nullptr, &result));
    EXPECT_EQ(SOAP_FAULT, ns__rtuReboot(request, nullptr, empty, &result));
    EXPECT_EQ((std::vector<std::string>{"usrReboot()"}), fake.calls());
}

class Clock : public testing::Test {
protected:
    FakeHost fake;
    Request request;
    Clock()
    {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
};

TEST_F(Clock, IsSetFromSixFieldsOfLocalTime)
{
    static const struct {
        const char *text;
        const char *call; // null: invalid
    } CASES[] = {
        {"24:02:29:13:05:00", "thmSetTime(1709208300,0,0)"},
        {"24:07:01:12:00:00", "thmSetTime(1719828000,0,0)"}, // summer time
        {"24:02:31:00:00:00", "thmSetTime(1709334000,0,0)"}, // 2 March
        {"00:01:01:00:00:00", "thmSetTime(946681200,0,0)"},
        {"24::02:29:13:05:00", "thmSetTime(1709208300,0,0)"},
        {":24:2:29:13:5:0:", "thmSetTime(1709208300,0,0)"},
        {"24:02:29:13:05:00:99", "thmSetTime(1709208300,0,0)"},
        {"0024:02:29:13:05:00", "thmSetTime(1709208300,0,0)"},
        {"24:02:29:13:05", nullptr},
        {"2024:02:29:13:05:00", nullptr},
        {"24-02-29 13:05:00", nullptr},
        {"24:02:29:13:05:00 ", nullptr},
        {"24:00:29:13:05:00", nullptr},
        {"24:13:01:00:00:00", nullptr},
        {"24:02:00:13:05:00", nullptr},
        {"24:02:32:13:05:00", nullptr},
        {"24:02:29:24:05:00", nullptr},
        {"24:02:29:13:60:00", nullptr},
        {"24:02:29:13:05:60", nullptr},
        {"24:02:29:13:05:99999999999999999999", nullptr},
        {"4294967320:02:29:13:05:00", nullptr}, // 24 modulo 2^32
        {"", nullptr},
        {":::", nullptr},
    };
    for (const auto &row : CASES) {
        const std::size_t before = fake.calls().size();
        int result = 9;
        const int error = ns__thmSetTime(request, request.change(row.text), &result);
        EXPECT_EQ(row.call == nullptr ? SOAP_FAULT : SOAP_OK, error) << row.text;
        if (row.call == nullptr) {
            EXPECT_EQ(before, fake.calls().size());
            EXPECT_EQ("WebServer Error: Invalid parameters", request.faultString());
            EXPECT_EQ("ns__thmSetTime", request.faultDetail());
        } else {
            EXPECT_EQ(row.call, fake.calls().back()) << row.text;
            EXPECT_EQ(0, result);
        }
    }
    fake.status = -1;
    int result = 0;
    EXPECT_EQ(SOAP_FAULT, ns__thmSetTime(request, request.change("24:02:29:13:05:00"), &result));
    EXPECT_EQ(1, result);
    EXPECT_EQ("WebServer Error: Set time error", request.faultString());
}

TEST_F(Clock, IsReadAsLocalTimeWithItsSource)
{
    static const struct {
        time_t now;
        int source;
        const char *text;
    } CASES[] = {{1709208307, 2, "24:02:29:13:05:07|2"},
                 {1719828000, 0, "24:07:01:12:00:00|0"},
                 {4102441200 - 1, -2147483647 - 1, "99:12:31:23:59:59|-2147483648"},
                 {915145200, 1, "99:01:01:00:00:00|1"}}; // a clock that was never set
    for (const auto &row : CASES) {
        fake.now = row.now;
        fake.timeSource = row.source;
        char *text = nullptr;
        EXPECT_EQ(SOAP_OK, ns__thmGetInfo(request, &text));
        EXPECT_STREQ(row.text, text);
    }
    fake.timeModule = 0;
    char *text = nullptr;
    EXPECT_EQ(SOAP_FAULT, ns__thmGetInfo(request, &text));
    EXPECT_EQ("WebServer Error: thm module not initialized", request.faultString());
    EXPECT_EQ("(none)", request.faultDetail());
}
