// tests/web/web_cases.cpp: the browsers' cases: every section is a series of requests to one service.
#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>

#include "base/base64.h"
#include "core/config.h"
#include "core/hooks.h"
#include "core/serve_loop.h"
#include "gsoap/context.h"
#include "net/connections.h"
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

static std::string readable(const std::string &path)
{
    require(std::ifstream(path).good(), "cannot read " + path);
    return content(path);
}

// Encodes a field as a page does: in Base64, then escaped for a URL.
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

enum Takes { NOTHING, WORD, TEXT, COOKIE, NUMBER, ADDRESS, PATH, PATH_TEXT, WORD_TEXT, TWO_WORDS };

struct Arguments {
    std::string first, second;
};

// Reads what follows a word; throws WrongLine unless that is what the word takes.
static Arguments readArguments(Takes takes, std::string text)
{
    const bool isPath = takes == PATH || takes == PATH_TEXT;
    const bool isPair = takes >= PATH_TEXT;
    const std::string first = isPair ? takeWord(&text) : text;
    const std::string &last = takes == TWO_WORDS ? text : first;
    struct in_addr address;
    require(takes != NOTHING || text.empty(), "takes nothing: " + shown(text));
    require((takes != TEXT && takes != COOKIE) || !text.empty(), "takes a text");
    require(!isPath || first.rfind("/mnt/", 0) == 0, "no path in /mnt: " + shown(first));
    require(takes == NOTHING || takes == TEXT || takes == COOKIE
                || (!last.empty() && last.find(' ') == std::string::npos),
            "takes one word: " + shown(last));
    require(takes != NUMBER || last.find_first_not_of("0123456789", last[0] == '-') > last.size(),
            "no number: " + shown(last));
    require(takes != ADDRESS
                || (last.rfind("127.", 0) == 0 && inet_pton(AF_INET, last.c_str(), &address) == 1),
            "no loopback address: " + shown(last));
    return {expanded(first, takes == COOKIE ? "id" : ""), isPair ? expanded(text) : ""};
}

static void requireNumber(const std::string &what, const std::string &expected, int actual)
{
    requireSame(what, expected, std::to_string(actual));
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
    const std::string type = readArguments(WORD, takeWord(&text)).first;
    const bool inFile = text[0] == '@';
    const std::string wanted =
        inFile ? readArguments(PATH, text.substr(1)).first : unescaped(expanded(text));
    return [=](const std::string &reply) {
        const std::size_t end = std::min(reply.find("\r\n\r\n"), reply.size());
        const std::string header = reply.substr(0, end) + "\r\n";
        require(header.rfind("HTTP/1.1 " + code + " ", 0) == 0
                    && header.find("\r\nContent-Type: " + type + "\r\n") != std::string::npos,
                "expected " + code + " " + type + ", got " + shown(reply));
        requireSame("body", inFile ? readable(wanted) : wanted,
                    end == reply.size() ? "(none)" : reply.substr(end + 4));
    };
}

static Check readExpected(std::string text)
{
    const std::string kind = takeWord(&text);
    if (kind == "nothing") {
        readArguments(NOTHING, text);
        return [](const std::string &reply) { requireSame("reply", "", reply); };
    }
    if (kind == "raw")
        return [wanted = unescaped(readArguments(TEXT, text).first)](const std::string &reply) {
            requireSame("reply", wanted, reply);
        };
    if (kind == "has")
        return [wanted = unescaped(readArguments(TEXT, text).first)](const std::string &reply) {
            require(reply.find(wanted) != std::string::npos,
                    "expected " + shown(wanted) + " in " + shown(reply));
        };
    if (kind == "relogin")
        return readReply("200", "text/html " + reLoginPage(text));
    return readReply(kind, text);
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
        awaitDepartures();
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

    std::string start(const std::string &verb, const std::string &target, const std::string &type)
    {
        std::string text = verb + " " + target + " HTTP/1.1\r\n" + cookieLine();
        if (const auto line = take("header"))
            text += *line + "\r\n";
        const std::string sent = take("type").value_or(type);
        return text + (sent.empty() ? "" : "content-type: " + sent + "\r\n");
    }

    std::string get(const std::string &target)
    {
        return exchange(start("GET", target, "") + "\r\n");
    }

    std::string post(const std::string &path, const std::string &body, const std::string &type)
    {
        std::string text = start(take("verb").value_or("POST"), path, type);
        const auto chunks = take("chunked"), length = take("length");
        if (length || !chunks)
            text += "Content-Length: " + length.value_or(std::to_string(body.size())) + "\r\n";
        if (!chunks)
            return exchange(text + "\r\n" + body);
        return exchange(text + "Transfer-Encoding: chunked\r\n\r\n" + chunked(body) + *chunks);
    }

    std::string form(const std::string &body, const std::string &path = "/index.htm")
    {
        return post(path, body, "application/x-www-form-urlencoded");
    }

    // Sends a command as a page does.
    std::string command(const std::string &name, const std::string &arguments = "")
    {
        return form("cgiMethod=" + field(name) + arguments);
    }

    void setNext(const std::string &option, const std::string &text)
    {
        require(next_.emplace(option, text).second, option + " has no effect: it comes twice");
    }

    void checkCalls(const std::string &wanted)
    {
        requireSame("calls", wanted, fake_->callsText());
        fake_->forgetCalls();
    }

    void freshHost()
    {
        fake_.reset();
        fake_ = std::make_unique<FakeHost>();
        installDefaultHooks();
    }

    void mountSmall(const std::string &path)
    {
        require(mount("tmpfs", path.c_str(), "tmpfs", 0, "size=16k") == 0, "cannot mount");
        mounted_.push_back(path);
    }

    // Records five failed logins, which are enough for a lockout.
    static void fail(std::string address)
    {
        initAccessRetry();
        for (int i = 0; i < 5; ++i)
            createAccessRetry(address.data());
    }

    template <typename Result> struct Word {
        const char *name;
        Takes takes;
        Result (*run)(WebCases &my, const Arguments &a);
    };

    static const std::vector<Word<std::string>> REQUESTS;
    static const std::vector<Word<void>> STATEMENTS;

    // Returns the first word of the table with which the line begins.
    template <typename Result>
    static const Word<Result> *find(const std::vector<Word<Result>> &words, const std::string &line)
    {
        for (const Word<Result> &word : words)
            if ((line + " ").rfind(word.name + std::string(" "), 0) == 0)
                return &word;
        return nullptr;
    }

    template <typename Result> std::function<Result()>
    readLine(const std::vector<Word<Result>> &words, const std::string &line)
    {
        const Word<Result> *const word = find(words, line);
        require(word != nullptr, "no such word: " + shown(line));
        const std::size_t length = std::min(line.size(), strlen(word->name) + 1);
        return [this, word, a = readArguments(word->takes, line.substr(length))] {
            return word->run(*this, a);
        };
    }

    Action readStatement(const std::string &line)
    {
        if (line.rfind("given ", 0) != 0)
            return readLine(STATEMENTS, line);
        return [this, given = readGiven(line.substr(6))] {
            if (given.fresh)
                freshHost();
            for (const auto &change : given.changes)
                change(*fake_);
        };
    }

public:
    WebCases()
    {
        srand(1); // session ids are then the same in every run
        setenv("SERVER_PORT", std::to_string(freePort()).c_str(), 1);
        readConfiguration();
        for (const auto &entry : fs::directory_iterator("/mnt"))
            fs::remove_all(entry);
        fs::create_directories("/mnt/bf/webFiles");
        freshHost();
        initContext(soap_.get());
        require(openService(soap_.get()) != -1, "the service does not start");
        send_ = soap_->fsend;
        soap_->fsend = [](struct soap *soap, const char *data, std::size_t size) {
            ++sends_;
            return send_(soap, data, size);
        };
    }

    ~WebCases() override
    {
        freshHost();
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
        if (sides.size() == 1)
            return readStatement(line);
        return readSteps(sides[0], [&](const std::string &text, bool last) -> Action {
            if (!last && find(REQUESTS, text) == nullptr)
                return readStatement(text);
            return [text, request = readLine(REQUESTS, text), check = readExpected(sides[1])] {
                const std::string reply = request();
                recordReply(text, reply);
                check(reply);
            };
        });
    }

    void end() override { requireNoOption(); }
};

const std::vector<WebCases::Word<std::string>> WebCases::REQUESTS = {
    {"GET", WORD, [](auto &my, auto &a) { return my.get(a.first); }},
    {"POST", WORD_TEXT, [](auto &my, auto &a) { return my.form(a.second, a.first); }},
    {"SOAP", WORD, [](auto &my, auto &a) { return my.post("/", envelope(a.first), "text/xml"); }},
    {"login", TWO_WORDS,
     [](auto &my, auto &a) {
         return my.command("cgiLogin", "&arg1=" + field(a.first) + "&arg2=" + field(a.second));
     }},
    {"logout", NOTHING, [](auto &my, auto &) { return my.command("cgiLogout"); }},
    {"keepAlive", NOTHING, [](auto &my, auto &) { return my.command("cgiKeepAlive"); }}};

const std::vector<WebCases::Word<void>> WebCases::STATEMENTS = {
    {"client", ADDRESS, [](auto &my, auto &a) { my.client_ = a.first; }},
    {"cookie", COOKIE, [](auto &my, auto &a) { my.cookies_[my.client_] = a.first; }},
    {"no cookie", NOTHING, [](auto &my, auto &) { my.cookies_.erase(my.client_); }},
    {"header", TEXT, [](auto &my, auto &a) { my.setNext("header", a.first); }},
    {"verb", WORD, [](auto &my, auto &a) { my.setNext("verb", a.first); }},
    {"type", TEXT, [](auto &my, auto &a) { my.setNext("type", a.first); }},
    {"length", NUMBER, [](auto &my, auto &a) { my.setNext("length", a.first); }},
    {"chunked without an end", NOTHING, [](auto &my, auto &) { my.setNext("chunked", ""); }},
    {"chunked", NOTHING, [](auto &my, auto &) { my.setNext("chunked", "0\r\n\r\n"); }},
    {"hang", NOTHING, [](auto &my, auto &) { my.setNext("hang", ""); }},
    {"file", PATH_TEXT, [](auto &, auto &a) { write(a.first, a.second); }},
    {"fifo", PATH, [](auto &, auto &a) { require(mkfifo(a.first.c_str(), 0600) == 0, "no fifo"); }},
    {"small", PATH, [](auto &my, auto &a) { my.mountSmall(a.first); }},
    {"folder", PATH,
     [](auto &, auto &a) { require(fs::create_directories(a.first), "the folder exists"); }},
    {"remove", PATH,
     [](auto &, auto &a) { require(fs::remove_all(a.first) > 0, "nothing to remove"); }},
    {"failures", ADDRESS, [](auto &, auto &a) { fail(a.first); }},
    {"absent", PATH, [](auto &, auto &a) { require(!fs::exists(a.first), a.first + " exists"); }},
    {"content", PATH_TEXT,
     [](auto &, auto &a) { requireSame(a.first, a.second, readable(a.first)); }},
    {"asks", NUMBER,
     [](auto &my, auto &a) { requireNumber("level asked", a.first, my.fake_->askedLevel); }},
    {"sends", NUMBER, [](auto &, auto &a) { requireNumber("sends", a.first, sends_); }},
    {"sessions", NUMBER,
     [](auto &, auto &a) { requireNumber("sessions", a.first, numOfSessions); }},
    {"calls", TEXT, [](auto &my, auto &a) { my.checkCalls(a.first); }},
    {"no calls", NOTHING, [](auto &my, auto &) { my.checkCalls(""); }}};

std::unique_ptr<Dialect> makeWebDialect()
{
    return std::make_unique<WebCases>();
}
