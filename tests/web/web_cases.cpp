// tests/web/web_cases.cpp: the browsers' cases: every section is a series of requests to one service.
#include <algorithm>
#include <arpa/inet.h>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <sys/mount.h>
#include <sys/prctl.h>
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
#include "support/given.h"
#include "support/wire.h"

namespace fs = std::filesystem;
using Strings = std::map<std::string, std::string>;
using Check = std::function<void(const std::string &reply)>;

static void write(const std::string &path, const std::string &text)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path);
    file << text;
    require(file.flush().good(), "cannot write " + path);
}

static std::string content(const std::string &path)
{
    const std::ifstream file(path);
    require(file.good(), "cannot read " + path);
    std::ostringstream text;
    text << file.rdbuf();
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

static std::string unescaped(std::string text)
{
    replaceAll(&text, "\\r", "\r");
    replaceAll(&text, "\\n", "\n");
    require(text.find('\\') == std::string::npos, "a backslash without r or n");
    return text;
}

// What a word takes: the word alone, one word, or a text.

static void readNothing(const std::string &text)
{
    require(text.empty(), "takes nothing: " + shown(text));
}

static std::string readText(const std::string &text)
{
    require(!text.empty(), "takes a text");
    return expanded(text);
}

static std::string readWord(const std::string &text)
{
    require(!text.empty() && text.find(' ') == std::string::npos, "takes one word: " + shown(text));
    return expanded(text);
}

static std::string readPath(const std::string &text)
{
    require(text.rfind("/mnt/", 0) == 0, "no path in /mnt: " + shown(text));
    return readWord(text);
}

static std::string readAddress(const std::string &text)
{
    struct in_addr address;
    require(text.rfind("127.", 0) == 0 && inet_pton(AF_INET, text.c_str(), &address) == 1,
            "no loopback address: " + shown(text));
    return text;
}

static std::string reLoginPage(const std::string &code)
{
    const std::string target = "/index.htm" + (code.empty() ? code : "?u=" + code);
    return "<html>\n<body onLoad=window.location.href='" + target + "'; > </body>\n</html>";
}

// CODE TYPE [BODY]
static Check readReply(const std::string &code, std::string text)
{
    require(toNumber<int>(code) >= 100 && code.size() == 3, "no expectation: " + shown(code));
    const std::string type = readWord(takeWord(&text));
    const bool inFile = text[0] == '@';
    const std::string wanted = inFile ? readPath(text.substr(1)) : unescaped(expanded(text));
    return [=](const std::string &reply) {
        const std::size_t end = std::min(reply.find("\r\n\r\n"), reply.size());
        const std::string header = reply.substr(0, end) + "\r\n";
        require(header.rfind("HTTP/1.1 " + code + " ", 0) == 0
                    && header.find("\r\nContent-Type: " + type + "\r\n") != std::string::npos,
                "expected " + code + " " + type + ", got " + shown(reply));
        requireSame("body", inFile ? content(wanted) : wanted,
                    end == reply.size() ? "(none)" : reply.substr(end + 4));
    };
}

static Check readExpected(std::string text)
{
    const std::string kind = takeWord(&text);
    if (kind == "nothing") {
        readNothing(text);
        return [](const std::string &reply) { requireSame("reply", "", reply); };
    }
    if (kind == "raw")
        return [wanted = unescaped(readText(text))](const std::string &reply) {
            requireSame("reply", wanted, reply);
        };
    if (kind == "has")
        return [wanted = unescaped(readText(text))](const std::string &reply) {
            require(reply.find(wanted) != std::string::npos,
                    "expected " + shown(wanted) + " in " + shown(reply));
        };
    if (kind == "relogin")
        return readReply("200", "text/html " + reLoginPage(text.empty() ? "" : readWord(text)));
    return readReply(kind, text);
}

// The library names the thread and blocks SIGPIPE in it. This thread outlives the case: other tests look for
// the name, and their service threads inherit the signals.
static void initiate(struct soap *soap)
{
    char name[16];
    sigset_t blocked;
    prctl(PR_GET_NAME, name);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    ws_soap_initiate(soap);
    prctl(PR_SET_NAME, name);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
}

class WebCases : public Dialect {
    std::unique_ptr<FakeHost> fake_;
    std::unique_ptr<struct soap> soap_{new struct soap};
    std::string client_ = "127.0.0.1";
    Strings cookies_, ids_; // by client
    Strings next_;          // how the next request is made
    Lines mounted_;
    static inline int sends_;
    static inline int (*send_)(struct soap *, const char *, std::size_t);

    std::optional<std::string> take(const char *option)
    {
        const auto node = next_.extract(option);
        return node.empty() ? std::nullopt : std::optional<std::string>(node.mapped());
    }

    void requireNoOption()
    {
        Strings unused;
        unused.swap(next_);
        require(unused.empty(), unused.empty() ? "" : unused.begin()->first + " has no effect");
    }

    std::string exchange(const std::string &bytes)
    {
        std::string reply;
        const bool hangUp = take("hang").has_value();
        requireNoOption();
        sends_ = 0;
        fake_->askedLevel = FakeHost::NOT_ASKED;
        std::thread client([&] { reply = talk(g_serverPort, bytes, client_, hangUp); });
        serveConnection(soap_.get());
        client.join();
        require(gblIpAddress == nullptr && soap_->user == nullptr && soap_->cookies == nullptr,
                "the service still holds the request's address, user or cookies");
        const std::string set = "Set-Cookie: SESSIONID=";
        const std::size_t at = reply.find(set);
        if (at != std::string::npos) {
            ids_[client_] = reply.substr(at + set.size(), reply.find(';', at) - at - set.size());
            cookies_[client_] = "SESSIONID={id}";
        }
        return reply;
    }

    std::string cookieLine()
    {
        std::string cookie = cookies_[client_];
        for (const auto &[client, id] : ids_)
            replaceAll(&cookie, client == client_ ? "{id}" : "{id@" + client + "}", id);
        require(cookie.find("{id") == std::string::npos, "no such session: " + cookie);
        return cookie.empty() ? "" : "Cookie: " + cookie + "\r\n";
    }

    static std::string chunked(const std::string &body)
    {
        const std::size_t most = 1000000;
        std::ostringstream chunks;
        for (std::size_t at = 0; at < body.size(); at += most)
            chunks << std::hex << std::min(most, body.size() - at) << "\r\n"
                   << body.substr(at, most) << "\r\n";
        return chunks.str();
    }

    std::string get(const std::string &target)
    {
        std::string text = "GET " + target + " HTTP/1.1\r\n" + cookieLine();
        if (const auto line = take("header"))
            text += *line + "\r\n";
        if (const auto type = take("type"))
            text += "Content-Type: " + *type + "\r\n";
        return exchange(text + "\r\n");
    }

    std::string post(const std::string &path, const std::string &body, const std::string &type)
    {
        std::string text =
            take("verb").value_or("POST") + " " + path + " HTTP/1.1\r\n" + cookieLine();
        if (const auto line = take("header"))
            text += *line + "\r\n";
        text += "Content-Type: " + take("type").value_or(type) + "\r\n";
        const auto chunks = take("chunked"), length = take("length");
        if (length || !chunks)
            text += "Content-Length: " + length.value_or(std::to_string(body.size())) + "\r\n";
        if (!chunks)
            return exchange(text + "\r\n" + body);
        return exchange(text + "Transfer-Encoding: chunked\r\n\r\n" + chunked(body)
                        + (chunks->empty() ? "0\r\n\r\n" : ""));
    }

    std::string form(const std::string &body, const std::string &path = "/index.htm")
    {
        return post(path, body, "application/x-www-form-urlencoded");
    }

    std::function<std::string()> readRequest(std::string text)
    {
        const std::string verb = takeWord(&text);
        if (verb == "GET")
            return [this, target = readWord(text)] { return get(target); };
        if (verb == "SOAP")
            return [this, operation = readWord(text)] {
                return post("/", envelope(operation), "text/xml");
            };
        if (verb == "POST") {
            const std::string path = readWord(takeWord(&text));
            return [this, path, body = expanded(text)] { return form(body, path); };
        }
        if (verb == "login") {
            const std::string user = expanded(takeWord(&text));
            return [this, user, password = readWord(text)] {
                return form("cgiMethod=" + field("cgiLogin") + "&arg1=" + field(user)
                            + "&arg2=" + field(password));
            };
        }
        require(verb == "logout" || verb == "keepAlive", "no request: " + shown(verb));
        readNothing(text);
        return [this, method = verb == "logout" ? "cgiLogout" : "cgiKeepAlive"] {
            return form("cgiMethod=" + field(method));
        };
    }

    Action setNext(const std::string &option, const std::string &text)
    {
        return [=] {
            require(next_.emplace(option, text).second, option + " has no effect: it comes twice");
        };
    }

    Action expectNumber(const std::string &what, const std::string &text, const int &actual)
    {
        return [what, wanted = toNumber<int>(text), &actual] {
            requireSame(what, std::to_string(wanted), std::to_string(actual));
        };
    }

    void checkCalls(const std::string &wanted)
    {
        std::string calls;
        for (const std::string &call : fake_->calls())
            calls += (calls.empty() ? "" : " ") + call;
        requireSame("calls", wanted, calls);
        fake_->forgetCalls();
    }

    void start()
    {
        fake_.reset();
        fake_ = std::make_unique<FakeHost>();
        installDefaultHooks();
    }

    Action readGivenLine(const std::string &text)
    {
        return [this, given = readGiven(text)] {
            if (given.fresh)
                start();
            for (const auto &change : given.changes)
                change(*fake_);
        };
    }

    void mountSmall(const std::string &path)
    {
        require(mount("tmpfs", path.c_str(), "tmpfs", 0, "size=16k") == 0, "cannot mount");
        mounted_.push_back(path);
    }

    static void fail(std::string address) // five logins, enough for a lockout
    {
        initAccessRetry();
        for (int i = 0; i < 5; ++i)
            createAccessRetry(address.data());
    }

    using Word = std::function<Action(std::string)>; // reads what follows the word
    const std::map<std::string, Word> words_ = {
        {"given", [this](auto text) { return readGivenLine(text); }},
        {"client",
         [this](auto text) { return [this, client = readAddress(text)] { client_ = client; }; }},
        {"cookie",
         [this](auto text) {
             require(!text.empty(), "takes a text");
             return [this, cookie = expanded(text, "id")] { cookies_[client_] = cookie; };
         }},
        {"header", [this](auto text) { return setNext("header", readText(text)); }},
        {"verb", [this](auto text) { return setNext("verb", readWord(text)); }},
        {"type", [this](auto text) { return setNext("type", readText(text)); }},
        {"length",
         [this](auto text) {
             toNumber<uint64_t>(text);
             return setNext("length", text);
         }},
        {"chunked",
         [this](auto text) {
             require(text.empty() || text == "without an end", "chunked knows: without an end");
             return setNext("chunked", text);
         }},
        {"hang", [this](auto text) { return readNothing(text), setNext("hang", text); }},
        {"file",
         [](auto text) {
             const std::string path = readPath(takeWord(&text));
             return [path, content = expanded(text)] { write(path, content); };
         }},
        {"fifo",
         [](auto text) {
             return [path = readPath(text)] {
                 require(mkfifo(path.c_str(), 0600) == 0, "cannot make a fifo");
             };
         }},
        {"small",
         [this](auto text) { return [this, path = readPath(text)] { mountSmall(path); }; }},
        {"folder",
         [](auto text) {
             return [path = readPath(text)] {
                 require(fs::create_directories(path), "the folder exists");
             };
         }},
        {"remove",
         [](auto text) {
             return [path = readPath(text)] {
                 require(fs::remove_all(path) > 0, "nothing to remove");
             };
         }},
        {"failures", [](auto text) { return [address = readAddress(text)] { fail(address); }; }},
        {"asks",
         [this](auto text) {
             return [this, wanted = toNumber<int>(text)] {
                 requireSame("level asked", std::to_string(wanted),
                             std::to_string(fake_->askedLevel));
             };
         }},
        {"absent",
         [](auto text) {
             return [path = readPath(text)] { require(!fs::exists(path), path + " exists"); };
         }},
        {"sends", [this](auto text) { return expectNumber("sends", text, sends_); }},
        {"sessions", [this](auto text) { return expectNumber("sessions", text, numOfSessions); }},
        {"content",
         [](auto text) {
             const std::string path = readPath(takeWord(&text));
             return [path, wanted = expanded(text)] { requireSame(path, wanted, content(path)); };
         }},
        {"calls",
         [this](auto text) { return [this, calls = readText(text)] { checkCalls(calls); }; }}};

public:
    WebCases()
    {
        srand(1); // session ids are then the same in every run
        setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
        readConfiguration();
        for (const auto &entry : fs::directory_iterator("/mnt"))
            fs::remove_all(entry);
        start();
        initiate(soap_.get());
        require(openService(soap_.get()) != -1, "the service does not start");
        send_ = soap_->fsend;
        soap_->fsend = [](struct soap *soap, const char *data, std::size_t size) {
            ++sends_;
            return send_(soap, data, size);
        };
    }

    ~WebCases() override
    {
        start();
        for (int slot = 0; slot < MAX_SESSIONS; ++slot)
            if (g_accesstok[slot].id != nullptr)
                clearSession(slot, soap_.get());
        for (const auto &slot : g_webAccess.slots)
            free(slot.ip);
        g_webAccess = {};
        soap_done(soap_.get());
        for (const std::string &path : mounted_)
            umount(path.c_str());
    }

    WebCases(const WebCases &) = delete;
    WebCases &operator=(const WebCases &) = delete;

    Action read(const std::string &line) override
    {
        const Lines sides = split(line, " -> ");
        require(sides.size() <= 2, "more than one ->");
        if (sides.size() == 2)
            return [this, send = readRequest(sides[0]), check = readExpected(sides[1]),
                    request = sides[0]] {
                const std::string reply = send();
                recordReply(request, reply);
                check(reply);
            };
        if (line == "no cookie")
            return [this] { cookies_[client_].clear(); };
        if (line == "no calls")
            return [this] { checkCalls(""); };
        std::string text = line;
        const std::string word = takeWord(&text);
        require(words_.count(word) != 0, "no word: " + shown(word));
        return words_.at(word)(text);
    }

    void end() override { requireNoOption(); }
};

std::unique_ptr<Dialect> makeWebDialect()
{
    return std::make_unique<WebCases>();
}
