// tests/web/web_cases_test.cpp: runs the browser's cases, which are written in the *.cases files.
//
//   given NAME=VALUE | ...     changes the host; "given fresh" starts from one in local security mode
//   client ADDRESS             from now on; every client keeps its own session cookie
//   cookie TEXT                the client's Cookie header from now on; {id} is its own session id,
//                              {id@ADDRESS} another client's
//   header TEXT                for the next request only; type TEXT: its content type; verb TEXT;
//   length N, chunked          how the next form is announced; hang: and cut off after it
//   file PATH TEXT             writes a file; "fifo PATH" makes one, "folder PATH", "remove PATH";
//                              "small PATH": a folder with next to no room
//   GET TARGET, POST PATH BODY, SOAP OPERATION, login USER PASSWORD, logout, keepAlive -> EXPECTED:
//     nothing                  no byte
//     CODE TYPE BODY           of the one reply; a BODY of "@PATH" is the content of that file
//     relogin CODE, relogin    the page that leads to the login page
//     raw TEXT, has TEXT       the whole reply, a part of it; \r\n stand for themselves
//   failures ADDRESS           five failed logins are on record for it
//   level N                    asked of the gate last; absent PATH
//   sends N                    system calls that the last reply took
//   sessions N, content PATH TEXT, calls F(A) G()   what must be so now
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>

#include "base/base64.h"
#include "core/config.h"
#include "core/hooks.h"
#include "core/serve_loop.h"
#include "core/service_thread.h"
#include "session/lockout.h"
#include "session/session_table.h"
#include "support/cases.h"
#include "support/wire.h"

namespace fs = std::filesystem;
using Strings = std::map<std::string, std::string>;

static void replaceAll(std::string *text, const std::string &what, const std::string &by)
{
    for (std::size_t at = 0; (at = text->find(what, at)) != std::string::npos; at += by.size())
        text->replace(at, what.size(), by);
}

static void write(const std::string &path, const std::string &text)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path) << text;
}

static std::string content(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// As a page encodes a field: Base64, then for a URL.
static std::string field(const std::string &text)
{
    std::vector<char> coded(text.size() * 2 + 8);
    httpBase64encode(reinterpret_cast<const unsigned char *>(text.data()),
                     static_cast<int>(text.size()), coded.data(), static_cast<int>(coded.size()));
    std::string result = coded.data();
    replaceAll(&result, "+", "%2B");
    replaceAll(&result, "/", "%2F");
    replaceAll(&result, "=", "%3D");
    return result;
}

static std::string firstWord(std::string *text)
{
    const std::size_t end = text->find(' ');
    const std::string word = text->substr(0, end);
    text->erase(0, end == std::string::npos ? end : end + 1);
    return word;
}

class WebCase : public testing::Test {
    Lines lines_;
    std::unique_ptr<FakeHost> fake_;
    std::unique_ptr<struct soap> soap_{new struct soap};
    std::string client_ = "127.0.0.1";
    Strings cookies_, ids_; // by client
    Strings next_;          // how the next request is made
    static inline int sends_;
    static inline int (*send_)(struct soap *, const char *, std::size_t);

    std::string exchange(const std::string &bytes)
    {
        std::string reply;
        sends_ = 0;
        std::thread client(
            [&] { reply = talk(g_serverPort, bytes, client_, next_.count("hang") != 0); });
        serveConnection(soap_.get());
        client.join();
        EXPECT_EQ(nullptr, gblIpAddress);
        EXPECT_EQ(nullptr, soap_->user);
        EXPECT_EQ(nullptr, soap_->cookies);
        next_.clear();
        const std::string set = "Set-Cookie: SESSIONID=";
        const std::size_t at = reply.find(set);
        if (at != std::string::npos) {
            ids_[client_] = reply.substr(at + set.size(), reply.find(';', at) - at - set.size());
            cookies_[client_] = "SESSIONID={id}";
        }
        return reply;
    }

    std::string request(const std::string &verb, const std::string &target, const std::string &body,
                        const std::string &type)
    {
        std::string cookie = cookies_[client_];
        replaceAll(&cookie, "{id}", ids_[client_]);
        for (const auto &[client, id] : ids_)
            replaceAll(&cookie, "{id@" + client + "}", id);
        std::string text =
            (next_.count("verb") != 0 ? next_["verb"] : verb) + " " + target + " HTTP/1.1\r\n";
        if (!cookie.empty())
            text += "Cookie: " + cookie + "\r\n";
        if (next_.count("header") != 0)
            text += next_["header"] + "\r\n";
        if (next_.count("type") != 0 || verb != "GET")
            text += "Content-Type: " + (next_.count("type") != 0 ? next_["type"] : type) + "\r\n";
        if (verb == "GET")
            return exchange(text + "\r\n");
        if (next_.count("chunked") != 0 && next_.count("length") != 0)
            text += "Content-Length: " + next_["length"] + "\r\n";
        if (next_.count("chunked") == 0)
            return exchange(
                text + "Content-Length: "
                + (next_.count("length") != 0 ? next_["length"] : std::to_string(body.size()))
                + "\r\n\r\n" + body);
        std::ostringstream chunks;
        for (std::size_t at = 0; at < body.size(); at += 1000000)
            chunks << std::hex << std::min<std::size_t>(1000000, body.size() - at) << "\r\n"
                   << body.substr(at, 1000000) << "\r\n";
        return exchange(text + "Transfer-Encoding: chunked\r\n\r\n" + chunks.str()
                        + (next_["chunked"].empty() ? "0\r\n\r\n" : ""));
    }

    std::string form(const std::string &body, const std::string &path = "/index.htm")
    {
        return request("POST", path, body, "application/x-www-form-urlencoded");
    }

    static std::string reLoginPage(const std::string &code)
    {
        const std::string target = "/index.htm" + (code.empty() ? code : "?u=" + code);
        return "<html>\n<body onLoad=window.location.href='" + target + "'; > </body>\n</html>";
    }

    static void check(const std::string &reply, std::string expected)
    {
        replaceAll(&expected, "\\r", "\r");
        replaceAll(&expected, "\\n", "\n");
        const std::string kind = firstWord(&expected);
        if (kind == "nothing")
            EXPECT_EQ("", reply);
        else if (kind == "raw")
            EXPECT_EQ(expected, reply);
        else if (kind == "has")
            EXPECT_THAT(reply, testing::HasSubstr(expected));
        else if (kind == "relogin")
            check(reply, "200 text/html " + reLoginPage(expected));
        else {
            const std::string type = firstWord(&expected);
            ASSERT_THAT(reply, testing::StartsWith("HTTP/1.1 " + kind));
            EXPECT_THAT(reply, testing::HasSubstr("\r\nContent-Type: " + type + "\r\n"));
            const std::string body =
                reply.substr(std::min(reply.size(), reply.find("\r\n\r\n") + 4));
            EXPECT_TRUE(body == (expected[0] == '@' ? content(expected.substr(1)) : expected))
                << body.substr(0, 500);
        }
    }

    std::string send(const std::string &verb, std::string rest)
    {
        if (verb == "GET")
            return request(verb, rest, "", "");
        if (verb == "SOAP")
            return request("POST", "/", envelope(rest), "text/xml");
        if (verb == "POST") {
            const std::string path = firstWord(&rest);
            return form(rest, path);
        }
        if (verb == "login") {
            const std::string user = firstWord(&rest);
            return form("cgiMethod=" + field("cgiLogin") + "&arg1=" + field(user)
                        + "&arg2=" + field(rest));
        }
        return form("cgiMethod=" + field(verb == "logout" ? "cgiLogout" : "cgiKeepAlive"));
    }

    void run(const std::string &line)
    {
        std::string rest = line;
        const std::string word = firstWord(&rest);
        const Lines sides = split(line, " -> ");
        if (sides.size() == 2) {
            std::string what = expanded(sides[0]);
            firstWord(&what);
            const std::string reply = send(word, what);
            recordReply(sides[0], reply);
            return check(reply, expanded(sides[1]));
        }
        const std::map<std::string, std::function<void()>> statements = {
            {"given", [&] { given(rest); }},
            {"client", [&] { client_ = rest; }},
            {"cookie", [&] { cookies_[client_] = rest; }},
            {"header", [&] { next_["header"] = rest; }},
            {"verb", [&] { next_["verb"] = rest; }},
            {"type", [&] { next_["type"] = rest; }},
            {"length", [&] { next_["length"] = rest; }},
            {"chunked", [&] { next_["chunked"] = rest; }},
            {"hang", [&] { next_["hang"] = rest; }},
            {"file",
             [&] {
                 const std::string path = firstWord(&rest);
                 write(path, expanded(rest));
             }},
            {"fifo", [&] { EXPECT_EQ(0, mkfifo(rest.c_str(), 0600)); }},
            {"small", [&] { EXPECT_EQ(0, mount("tmpfs", rest.c_str(), "tmpfs", 0, "size=16k")); }},
            {"folder", [&] { fs::create_directories(rest); }},
            {"remove", [&] { fs::remove_all(rest); }},
            {"failures",
             [&] {
                 initAccessRetry();
                 for (int i = 0; i < 5; ++i)
                     createAccessRetry(rest.data());
             }},
            {"level", [&] { EXPECT_EQ(std::stoi(rest), fake_->askedLevel); }},
            {"absent", [&] { EXPECT_FALSE(fs::exists(rest)); }},
            {"sends", [&] { EXPECT_EQ(std::stoi(rest), sends_); }},
            {"sessions", [&] { EXPECT_EQ(std::stoi(rest), numOfSessions); }},
            {"content",
             [&] {
                 const std::string path = expanded(firstWord(&rest));
                 EXPECT_TRUE(expanded(rest) == content(path)) << content(path).substr(0, 500);
             }},
            {"calls", [&] {
                 std::string calls;
                 for (const std::string &call : fake_->calls())
                     calls += (calls.empty() ? "" : " ") + call;
                 EXPECT_EQ(rest, calls);
                 fake_->forgetCalls();
             }}};
        statements.at(word)();
    }

    void given(const std::string &text)
    {
        if (text == "fresh") {
            fake_.reset();
            fake_ = std::make_unique<FakeHost>();
            installDefaultHooks();
        } else if (text == "security") {
            installSecurityHooks();
        } else {
            apply(*fake_, text);
        }
    }

public:
    explicit WebCase(const Lines &lines) : lines_(lines) {}

    void SetUp() override
    {
        srand(1); // session ids are then the same in every run
        setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
        readConfiguration();
        for (const auto &entry : fs::directory_iterator("/mnt"))
            fs::remove_all(entry);
        given("fresh");
        ws_soap_initiate(soap_.get());
        ASSERT_NE(-1, openService(soap_.get()));
        send_ = soap_->fsend;
        soap_->fsend = [](struct soap *soap, const char *data, std::size_t size) {
            ++sends_;
            return send_(soap, data, size);
        };
    }

    void TearDown() override
    {
        given("fresh");
        for (int slot = 0; slot < MAX_SESSIONS; ++slot)
            if (g_accesstok[slot].id != nullptr)
                clearSession(slot, soap_.get());
        for (const auto &slot : g_webAccess.slots)
            free(slot.ip);
        g_webAccess = {};
        soap_done(soap_.get());
    }

    void TestBody() override
    {
        for (const std::string &line : lines_) {
            SCOPED_TRACE(line);
            run(line);
        }
    }
};

void registerWebCases()
{
    for (const char *file : {"web/get", "web/session", "web/upload"})
        registerCases(file,
                      [](const Lines &lines) -> testing::Test * { return new WebCase(lines); });
}
