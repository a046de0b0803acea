// tests/session/session_test.cpp: the table of sessions, the check of a request, and the lockout.
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdsoap2.h>
#include <string>
#include <vector>

#include "http/cookies.h"
#include "session/lockout.h"
#include "session/request_check.h"
#include "session/session_table.h"
#include "support/wire.h"

class Session : public testing::Test {
protected:
    FakeHost fake;
    const std::unique_ptr<struct soap> soap{new struct soap};
    std::ostringstream out; // what the context sends

    Session() { soap->os = &out; }

    ~Session() override
    {
        endSessionsOf("", soap.get());
        EXPECT_EQ(0, numOfSessions);
        soap_end(soap.get());
    }
};

TEST_F(Session, FindsOnlySlotsBelowTheNumberOfSessions)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(i, createSession(soap.get()));
    const std::string first = getSessionId(0);
    EXPECT_NE(first, getSessionId(1)) << "made in the same millisecond";
    clearSession(0, soap.get());
    EXPECT_EQ(nullptr, getSessionId(2)) << "live, but two sessions are left";
    EXPECT_EQ(nullptr, getSessionId(-1));
    EXPECT_EQ(-1, getSessionNum(nullptr));
    EXPECT_EQ(0, createSession(soap.get())) << "the first free slot";
    for (int slot = 3; slot < MAX_SESSIONS; ++slot)
        EXPECT_EQ(slot, createSession(soap.get()));
    EXPECT_EQ(-1, createSession(soap.get())) << "full";

    EXPECT_EQ(4294967290U, diffTimestamp(5, 10));
    EXPECT_EQ(0x7FFFFFFFU, diffTimestamp(0x7FFFFFFFU, 0));
    EXPECT_EQ(0x7FFFFFFFU, diffTimestamp(0x80000000U, 0));
}

TEST_F(Session, IsTestedAndRenewedOnlyAsTheCallerAsks)
{
    const int slot = createSession(soap.get());
    soap_set_cookie(soap.get(), "SESSIONID", g_accesstok[slot].id, "", "/");
    static const std::tuple<uint32_t, short, short, int, uint32_t> CASES[] = {
        {900000, 0, 1, 0, 0},  {900001, 0, 0, 0, 0},   {900001, 2, 0, 0, 0},
        {900001, 1, 1, -1, 0}, {900001, 1, -1, -1, 0}, {900002, 1, 0, 0, 900002}};
    for (const auto &[now, refresh, checkTimeout, result, lastActivity] : CASES) {
        fake.milliseconds = now;
        int found = -1;
        EXPECT_EQ(result, httpCheckUser(soap.get(), refresh, checkTimeout, &found));
        EXPECT_EQ(slot, found);
        EXPECT_EQ(lastActivity, g_accesstok[slot].lastActivity) << now;
        if (result != 0) { // the reply has taken the cookies with it
            EXPECT_NE(std::string::npos, out.str().find("?u=to'"));
            soap_set_cookie(soap.get(), "SESSIONID", g_accesstok[slot].id, "", "/");
        }
    }
}

TEST_F(Session, TextsAreCut)
{
    installSecurityHooks();
    const std::string id(254, 'x');
    openSession(soap.get(), "ann", WS_LEVEL_READ, id.c_str());
    soap_set_cookie(soap.get(), "SESSIONID", (id + "x").c_str(), "", "/");
    EXPECT_EQ(SESSION_VALID, checkSession(soap.get(), 0, 0, nullptr));
    EXPECT_TRUE(setSessionCookie(soap.get(), id.c_str()));
    EXPECT_EQ(id.substr(0, 98), sessionCookie(soap.get()));
}

TEST(Lockout, RemovesEntriesInPlaceAndKeepsTheLastSlotFree)
{
    FakeHost fake;
    initAccessRetry();
    char ann[] = "10.0.0.1", bob[] = "10.0.0.2", cid[] = "10.0.0.3";
    EXPECT_EQ(0, createAccessRetry(ann));
    EXPECT_EQ(0, createAccessRetry(bob));
    removeAccessRetry(cid); // unknown
    EXPECT_EQ(2, g_webAccess.count);
    char *hidden = g_webAccess.slots[1].ip;
    removeAccessRetry(ann);
    EXPECT_EQ(-1, getAccessRetry(bob)) << "the top entry is out of sight";
    EXPECT_EQ(-1, addAccessRetry(0)) << "a free slot";
    EXPECT_EQ(0, createAccessRetry(cid));
    EXPECT_EQ(1, getAccessRetry(cid));
    free(hidden);
    EXPECT_EQ(-1, createAccessRetry(nullptr));

    std::vector<std::string> keys;
    for (int i = 0; g_webAccess.count < 63; ++i)
        EXPECT_EQ(0, createAccessRetry(keys.emplace_back("k" + std::to_string(i)).data()));
    EXPECT_EQ(-1, createAccessRetry(ann)) << "full with one slot free";
    initAccessRetry();
    EXPECT_EQ(63, g_webAccess.count) << "only the first call empties the table";
    forgetSessions(nullptr);
}
