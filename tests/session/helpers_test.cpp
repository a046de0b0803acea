// tests/session/helpers_test.cpp: Base64, bounded print, time stamps and the two tables by themselves.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <stdsoap2.h>
#include <string>

#include "base/base64.h"
#include "base/text.h"
#include "http/accept.h"
#include "http/client_address.h"
#include "http/form_plugin.h"
#include "http/send_file.h"
#include "session/lockout.h"
#include "session/request_check.h"
#include "session/session_table.h"
#include "support/fake_host.h"

TEST(Base64, EncodesGroupsOfThreeAndKnowsItsRoom)
{
    static const struct {
        const char *plain, *coded;
    } CASES[] = {{"", ""},
                 {"A", "QQ=="},
                 {"AB", "QUI="},
                 {"ABC", "QUJD"},
                 {"\xFB\xEF\xFF", "++//"},
                 {"00000000:12345678", "MDAwMDAwMDA6MTIzNDU2Nzg="}};
    for (const auto &row : CASES)
        for (const int spare : {0, 1}) {
            const std::string more = std::string(row.plain) + "\xFF\xFF";
            char out[32];
            const int size = static_cast<int>(strlen(row.coded)) + spare;
            EXPECT_EQ(spare - 1,
                      httpBase64encode(reinterpret_cast<const unsigned char *>(more.data()),
                                       static_cast<int>(strlen(row.plain)), out, size));
            if (spare == 1) {
                EXPECT_STREQ(row.coded, out);
            }
        }
}

TEST(Base64, DecodesUpToTheLimitAndStopsAtWhatIsNone)
{
    static const struct {
        const char *coded;
        int limit, result;
        const char *plain;
    } CASES[] = {{"QUJD", 9, 3, "ABC"},      {"QUI=", 9, 2, "AB"},
                 {"QQ==QUJD", 9, 1, "A"},    {"QUJDQUI=", 9, 5, "ABCAB"},
                 {"QQ", 9, 0, ""},           {"QUJDQ", 9, 3, "ABC"},
                 {"QU*D", 9, -1, ""},        {"QUJD QUJD", 9, -1, "ABC"},
                 {"QUJD\xC3", 9, -1, "ABC"}, {"QUJDQUJDQUJD", 4, 6, "ABCABC"},
                 {"====", 9, 0, ""},         {"", 9, 0, ""}};
    for (const auto &row : CASES) {
        unsigned char out[9 + BASE64_OVERSHOOT];
        EXPECT_EQ(row.result, httpBase64decode(row.coded, out, row.limit)) << row.coded;
        EXPECT_STREQ(row.plain, reinterpret_cast<char *>(out)) << row.coded;
    }
}

TEST(Text, IsCutBetweenCharactersAndAnywhereInWhatHasNone)
{
    static const struct {
        const char *text;
        std::size_t limit, kept;
    } CASES[] = {{"a\xE2\x82\xAC", 4, 4},        {"a\xE2\x82\xAC", 3, 1},
                 {"\xE2\x82\xAC", 2, 0},         {"a\xF0\x9F\x98\x80", 4, 1},
                 {"\x80\x80\x80\x80\x80", 4, 4}, {"\x80\x80", 1, 1}};
    for (const auto &row : CASES)
        EXPECT_EQ(row.kept, fittingBytes(row.text, row.limit)) << row.text << row.limit;
}

TEST(ClientInfo, BoundedPrintAndVerb)
{
    char text[8] = "unused";
    EXPECT_EQ(-1, safe_sprintf(text, 0, "%s", "x"));
    EXPECT_STREQ("unused", text);
    EXPECT_EQ(3, safe_sprintf(text, 4, "%s", "ab"));
    EXPECT_EQ(4, safe_sprintf(text, 4, "%s", "0123456789"));
    EXPECT_STREQ("012", text);

    const std::unique_ptr<struct soap> soap(new struct soap);
    const struct {
        const char *line;
        int status, verb;
    } cases[] = {{"GET / HTTP", SOAP_POST, 0}, {"POST / HTTP", SOAP_GET, 1}, {"PUT /", SOAP_GET, 0},
                 {"", SOAP_POST, 1},           {"", SOAP_PUT, -1},           {"GETX", 0, -1}};
    for (const auto &row : cases) {
        strcpy(soap->msgbuf, row.line);
        soap->status = row.status;
        EXPECT_EQ(row.verb, getHTTPVerb(soap.get())) << row.line;
    }
    EXPECT_EQ(nullptr, httpGetIp(nullptr));
    httpClearIp(nullptr);
}

TEST(ClientInfo, KnowsWhatTheClientAccepts)
{
    FakeHost fake;
    struct soap *soap = soap_new();
    const auto parser = soap->fparsehdr;
    fake.noRoom = 4 * sizeof(void *);
    EXPECT_EQ(SOAP_OK, soap_register_plugin_arg(soap, http_form, nullptr));
    EXPECT_EQ(parser, soap->fparsehdr) << "without memory the plug-in stays out";
    EXPECT_EQ(ACCEPT_ANY, handleHTTPAccept(soap));
    soap_free(soap);

    soap = soap_new();
    fake.noRoom = 0;
    EXPECT_EQ(SOAP_OK, soap_register_plugin_arg(soap, http_form, nullptr));
    EXPECT_EQ(ACCEPT_ANY, handleHTTPAccept(soap));
    static const struct {
        const char *accept;
        int result;
    } CASES[] = {{"text/html, application/xml, application/json", ACCEPT_JSON},
                 {"text/plain;q=0.5, application/xml", ACCEPT_XML},
                 {"text/html, */*", ACCEPT_HTML},
                 {"*/*, text/plain", ACCEPT_TEXT},
                 {"image/png, */*", ACCEPT_ANY},
                 {"TEXT/PLAIN", ACCEPT_HTML},
                 {"", ACCEPT_HTML}};
    for (const auto &row : CASES) {
        EXPECT_EQ(SOAP_OK, soap->fparsehdr(soap, "Accept", row.accept));
        EXPECT_EQ(row.result, handleHTTPAccept(soap)) << row.accept;
    }
    soap_end(soap);
    soap_free(soap);
}

TEST(SessionTable, MakesIdsFromTheGeneratorAndTheTime)
{
    FakeHost fake;
    fake.milliseconds = 0x1234ABCD;
    const std::unique_ptr<struct soap> soap(new struct soap);
    srand(7);
    const unsigned first = static_cast<unsigned>(rand());
    srand(first + fake.milliseconds);
    char expected[18];
    snprintf(expected, sizeof expected, "%08x:1234abcd", static_cast<unsigned>(rand()));
    srand(7);
    for (int slot = 0; slot < MAX_SESSIONS; ++slot)
        EXPECT_EQ(slot, createSession(soap.get()));
    unsigned char id[32];
    httpBase64decode(g_accesstok[0].id, id, 24);
    EXPECT_STREQ(expected, reinterpret_cast<char *>(id));
    EXPECT_EQ(-1, createSession(soap.get())) << "full";
    EXPECT_EQ(MAX_SESSIONS, numOfSessions);
    for (int slot = 0; slot < MAX_SESSIONS; ++slot)
        clearSession(slot, soap.get());
    soap_end(soap.get());
}

TEST(RequestCheck, TestsAndRenewsOnlyWhatItIsAskedFor)
{
    FakeHost fake;
    const std::unique_ptr<struct soap> soap(new struct soap);
    std::ostringstream out;
    soap->os = &out;
    const int slot = createSession(soap.get());
    soap_set_cookie(soap.get(), "SESSIONID", g_accesstok[slot].id, "", "/");
    static const struct {
        uint32_t now;
        short refresh, checkTimeout;
        int result;
        uint32_t lastActivity;
    } CASES[] = {{900000, 0, 1, 0, 0},  {900001, 0, 0, 0, 0},   {900001, 2, 0, 0, 0},
                 {900001, 1, 1, -1, 0}, {900001, 1, -1, -1, 0}, {900002, 1, 0, 0, 900002}};
    for (const auto &row : CASES) {
        fake.milliseconds = row.now;
        int found = -1;
        EXPECT_EQ(row.result, httpCheckUser(soap.get(), row.refresh, row.checkTimeout, &found));
        EXPECT_EQ(slot, found);
        EXPECT_EQ(row.lastActivity, g_accesstok[slot].lastActivity) << row.now;
        if (row.result != 0) { // the reply has taken the cookies with it
            EXPECT_NE(std::string::npos, out.str().find("?u=to'"));
            soap_set_cookie(soap.get(), "SESSIONID", g_accesstok[slot].id, "", "/");
        }
    }
    clearSession(slot, soap.get());
    EXPECT_EQ(0, numOfSessions);
    soap_end(soap.get());
}

TEST(SessionTable, TellsOfSlotsBelowTheNumberOfSessionsOnly)
{
    FakeHost fake;
    const std::unique_ptr<struct soap> soap(new struct soap);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(i, createSession(soap.get()));
    const std::string first = getSessionId(0);
    EXPECT_EQ(24U, first.size());
    EXPECT_EQ('=', first.back());
    EXPECT_NE(first, getSessionId(1)) << "made in the same millisecond";
    g_accesstok[2].level = 70;
    EXPECT_EQ(70, getSessionAccessLevel(2));
    clearSession(0, soap.get());
    EXPECT_EQ(-1, getSessionAccessLevel(2)) << "live, but two sessions are left";
    EXPECT_EQ(nullptr, getSessionId(2));
    EXPECT_EQ(nullptr, getSessionId(-1));
    EXPECT_EQ(-1, getSessionNum(nullptr));
    EXPECT_EQ(2, getSessionNum(g_accesstok[2].id));
    EXPECT_EQ(0, createSession(soap.get())) << "the first free slot";
    for (int slot = 0; slot < 3; ++slot)
        clearSession(slot, soap.get());
    EXPECT_EQ(0, numOfSessions);
    soap_end(soap.get());

    EXPECT_EQ(5U, diffTimestamp(10, 5));
    EXPECT_EQ(10U, diffTimestamp(5, 0xFFFFFFFBU));
    EXPECT_EQ(4294967290U, diffTimestamp(5, 10));
    EXPECT_EQ(0x7FFFFFFFU, diffTimestamp(0x7FFFFFFFU, 0));
    EXPECT_EQ(0x7FFFFFFFU, diffTimestamp(0x80000000U, 0));
}

TEST(Lockout, CountsByAddressAndForgetsInPlace)
{
    FakeHost fake;
    fake.now = 1000;
    initAccessRetry();
    char ann[] = "10.0.0.1", bob[] = "10.0.0.2", cid[] = "10.0.0.3";
    for (int failure = 1; failure <= 6; ++failure)
        EXPECT_EQ(failure < 5 ? 0 : 1, createAccessRetry(ann)) << failure;
    EXPECT_EQ(0, createAccessRetry(bob));
    static const struct {
        time_t now;
        int locked;
    } CASES[] = {{1000, 1}, {1899, 1}, {1900, 0}, {100, 1}};
    for (const auto &row : CASES) {
        fake.now = row.now;
        EXPECT_EQ(row.locked, isWaitingAccess(ann)) << row.now;
    }
    EXPECT_EQ(0, isWaitingAccess(bob));
    fake.now = 1900;
    EXPECT_EQ(0, createAccessRetry(ann));
    EXPECT_EQ(1, g_webAccess.slots[0].failures);

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
    for (auto &slot : g_webAccess.slots)
        free(slot.ip);
    g_webAccess = {};
}

TEST(SendFolder, IsACompleteTextResponseOrNone)
{
    FakeHost fake;
    std::filesystem::create_directories("/mnt/folder");
    std::ofstream("/mnt/folder/a.log.1") << "one";
    std::ofstream("/mnt/folder/b.txt") << "two";
    std::filesystem::create_directories("/mnt/broken");
    std::ofstream("/mnt/broken/a.log") << "a";
    std::filesystem::create_symlink("nowhere", "/mnt/broken/b.log");
    std::ofstream("/mnt/broken/c.log") << "c";
    std::string readable; // in the folder's own order
    for (const auto &entry : std::filesystem::directory_iterator("/mnt/broken")) {
        if (entry.is_symlink())
            break;
        readable += entry.path().stem();
    }
    const std::unique_ptr<struct soap> soap(new struct soap);
    const std::pair<const char *, std::string> cases[] = {{"/mnt/folder", "one"},
                                                          {"/mnt/folder/", "one"},
                                                          {"/mnt/missing", ""},
                                                          {"/mnt/broken", readable}};
    for (const auto &[folder, content] : cases) {
        std::ostringstream out;
        soap->os = &out;
        EXPECT_EQ(SOAP_OK, http_copy_folder(soap.get(), folder, ".log"));
        EXPECT_NE(std::string::npos, out.str().find("\r\nContent-Type: text/plain\r\n"));
        EXPECT_EQ(content, out.str().substr(out.str().find("\r\n\r\n") + 4)) << folder;
        soap_end(soap.get());
    }
    std::ofstream("/mnt/folder/empty.log") << "";
    std::ostringstream out;
    soap->os = &out;
    EXPECT_EQ(0, copy_folder(soap.get(), "/mnt/folder", ".log.1"));
    EXPECT_EQ(-1, copy_folder(soap.get(), "/mnt/folder", "empty"));
    soap->fpreparesend = [](struct soap *, const char *, std::size_t) { return SOAP_EOM; };
    EXPECT_EQ(SOAP_EOM, http_copy_folder(soap.get(), "/mnt/folder", ".log"));
    EXPECT_EQ(SOAP_EOM, copy_file(soap.get(), "/mnt/folder/b.txt", "text/plain"));
    EXPECT_EQ("", out.str());
    soap_end(soap.get());
}
