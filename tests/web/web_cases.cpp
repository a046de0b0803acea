// tests/web/web_cases.cpp: the browsers' cases: every section is a series of requests to one service.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <sys/stat.h>
#include <thread>

#include "core/hooks.h"
#include "core/serve_loop.h"
#include "gsoap/context.h"
#include "net/connections.h"
#include "session/lockout.h"
#include "support/cases.h"
#include "support/wire.h"

namespace fs = std::filesystem;
using Strings = std::map<std::string, std::string>;

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

static std::string reLoginPage(const std::string &code)
{
    const std::string target = "/index.htm" + (code.empty() ? code : "?u=" + code);
    return "<html>\n<body onLoad=window.location.href='" + target + "'; > </body>\n</html>";
}

class WebCases : public Dialect {
    std::unique_ptr<FakeHost> fake_;
    std::unique_ptr<struct soap> soap_{new struct soap};
    std::string client_ = "127.0.0.1";
    Strings cookies_; // by client
    Strings ids_;     // of sessions, by their name in a cookie
    Strings next_;    // how the next request is made
    std::string reply_;
    static inline int sends_;
    static inline bool deaf_; // the reply cannot be sent
    static inline int (*send_)(struct soap *, const char *, std::size_t);

    std::optional<std::string> take(const std::string &option)
    {
        const auto node = next_.extract(option);
        return node.empty() ? std::nullopt : std::optional<std::string>(node.mapped());
    }

    void requireNoOption()
    {
        for (const auto &[option, text] : std::exchange(next_, {}))
            throw WrongLine(option + " has no effect");
    }

    void exchange(const std::string &bytes)
    {
        const bool hangUp = take("hang").has_value();
        deaf_ = take("deaf").has_value();
        requireNoOption();
        sends_ = 0;
        fake_->askedLevel = FakeHost::NOT_ASKED;
        std::thread client([&] { reply_ = talk(g_serverPort, bytes, client_, hangUp); });
        serveConnection(soap_.get());
        awaitDepartures();
        client.join();
        require(gblIpAddress == nullptr && soap_->user == nullptr && soap_->cookies == nullptr,
                "the service still holds the request's address, user or cookies");
        const Lines parts = split(reply_, "Set-Cookie: SESSIONID=");
        if (parts.size() > 1) {
            ids_["{id@" + client_ + "}"] = split(parts[1], ";")[0];
            cookies_[client_] = "SESSIONID={id}";
        }
    }

    std::string cookieLine()
    {
        std::string cookie = replaced(cookies_[client_], {{"{id}", "{id@" + client_ + "}"}});
        for (const auto &[name, id] : ids_)
            cookie = replaced(cookie, {{name, id}});
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

    void post(const std::string &path, const std::string &body, const std::string &type)
    {
        std::string text = start(take("verb").value_or("POST"), path, type);
        const auto chunks = take("chunked"), length = take("length");
        if (length || !chunks)
            text += "Content-Length: " + length.value_or(std::to_string(body.size())) + "\r\n";
        if (chunks)
            exchange(text + "Transfer-Encoding: chunked\r\n\r\n" + chunked(body) + *chunks);
        else
            exchange(text + "\r\n" + body);
    }

    void form(const std::string &body, const std::string &path = "/index.htm")
    {
        post(path, body, "application/x-www-form-urlencoded");
    }

    void xml(const std::string &text) { post("/", text, "text/xml"); }

    // Sends a command as a page does.
    void command(const std::string &name, const std::string &arguments = "")
    {
        form("cgiMethod=" + formField(name) + arguments);
    }

    void checkReply(const std::string &code, const std::string &type, const std::string &body) const
    {
        const std::size_t end = std::min(reply_.find("\r\n\r\n"), reply_.size());
        const std::string header = reply_.substr(0, end) + "\r\n";
        require(header.rfind("HTTP/1.1 " + code + " ", 0) == 0
                    && header.find("\r\nContent-Type: " + type + "\r\n") != std::string::npos,
                "expected " + code + " " + type + ", got " + shown(reply_));
        requireSame("body", body[0] == '@' ? readable(body.substr(1)) : body,
                    end == reply_.size() ? "(none)" : reply_.substr(end + 4));
    }

    void setNext(const std::string &option, const std::string &text)
    {
        require(!take(option), option + " has no effect: it comes twice");
        next_[option] = text;
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

    // Records five failed logins, which are enough for a lockout.
    static void fail(std::string address)
    {
        initAccessRetry();
        for (int i = 0; i < 5; ++i)
            createAccessRetry(address.data());
    }

    struct Word {
        std::regex pattern; // of the whole line; what it captures are the arguments
        void (*run)(WebCases &my, const Lines &a);
        Word(const char *text, void (*does)(WebCases &, const Lines &)) : pattern(text), run(does)
        {}
    };

    static const std::vector<Word> REQUESTS, EXPECTATIONS, SETTINGS, CHECKS;

    // Does what the first word says that the line matches. Returns false if it matches none.
    bool runWord(const std::vector<Word> &words, const std::string &line)
    {
        std::smatch match;
        const auto word = std::find_if(words.begin(), words.end(), [&](const Word &each) {
            return std::regex_match(line, match, each.pattern);
        });
        if (word == words.end())
            return false;
        Lines arguments;
        for (std::size_t i = 1; i < match.size(); ++i)
            arguments.push_back(replaced(expanded(match[i]), {{"\\r", "\r"}, {"\\n", "\n"}}));
        word->run(*this, arguments);
        return true;
    }

    void send(const std::string &request, const std::string &expected) override
    {
        require(runWord(REQUESTS, request), "no request: " + shown(request));
        recordReply(request, reply_);
        const Lines parts = split(expected, " | ");
        for (const std::string &part : parts)
            require(runWord(&part == &parts[0] ? EXPECTATIONS : CHECKS, part),
                    "no expectation: " + shown(part));
    }

    void give(bool fresh, const std::string &settings) override
    {
        if (fresh)
            freshHost();
        ::give(*fake_, settings);
        configureContext(soap_.get()); // as at a start with these settings
    }

    bool setOther(const std::string &line) override
    {
        return runWord(SETTINGS, line) || runWord(CHECKS, line);
    }

public:
    WebCases()
    {
        forgetSessions(soap_.get());
        for (const auto &entry : fs::directory_iterator("/mnt"))
            fs::remove_all(entry);
        fs::create_directories("/mnt/bf/webFiles");
        freshHost();
        openOnFreePort(soap_.get());
        send_ = soap_->fsend;
        soap_->fsend = [](struct soap *soap, const char *data, std::size_t size) {
            ++sends_;
            return deaf_ ? SOAP_EOF : send_(soap, data, size);
        };
    }

    ~WebCases() override
    {
        freshHost();
        forgetSessions(soap_.get());
        soap_done(soap_.get());
    }

    void end() override { requireNoOption(); }
};

const std::vector<WebCases::Word> WebCases::REQUESTS = {
    {"GET (\\S+)", [](auto &my, auto &a) { my.exchange(my.start("GET", a[0], "") + "\r\n"); }},
    {"POST (\\S+) ?(.*)", [](auto &my, auto &a) { my.form(a[1], a[0]); }},
    {"SOAP(12)? (\\w+) ?(.*)",
     [](auto &my, auto &a) {
         const auto token = my.take("token");
         const std::string header =
             token ? "<Authentication>" + *token + "</Authentication>" : std::string();
         my.xml(envelope(a[1], a[2], !a[0].empty(), header));
     }},
    {"BODY (.+)",
     [](auto &my, auto &a) {
         my.xml(replaced(envelope("x"), {{"<n:x></n:x>", a[0]}}));
     }},
    {"XML (.+)", [](auto &my, auto &a) { my.xml(a[0]); }},
    {"BYTES (.+)", [](auto &my, auto &a) { my.exchange(a[0]); }},
    {"login (\\S*) (\\S+)",
     [](auto &my, auto &a) {
         my.command("cgiLogin", "&arg1=" + formField(a[0]) + "&arg2=" + formField(a[1]));
     }},
    {"logout", [](auto &my, auto &) { my.command("cgiLogout"); }},
    {"keepAlive", [](auto &my, auto &) { my.command("cgiKeepAlive"); }}};

const std::vector<WebCases::Word> WebCases::EXPECTATIONS = {
    {"nothing", [](auto &my, auto &) { requireSame("reply", "", my.reply_); }},
    {"raw (.+)", [](auto &my, auto &a) { requireSame("reply", a[0], my.reply_); }},
    {"has (.+)",
     [](auto &my, auto &a) {
         require(my.reply_.find(a[0]) != std::string::npos,
                 "expected " + shown(a[0]) + " in " + shown(my.reply_));
     }},
    {"relogin ?(\\w*)",
     [](auto &my, auto &a) { my.checkReply("200", "text/html", reLoginPage(a[0])); }},
    {"([1-9]\\d\\d) (\\S+) ?(.*)", [](auto &my, auto &a) { my.checkReply(a[0], a[1], a[2]); }}};

#define ADDRESS "(127(?:[.]\\d+){3})"
#define PATH "(/mnt/\\S*)"

const std::vector<WebCases::Word> WebCases::SETTINGS = {
    {"client " ADDRESS, [](auto &my, auto &a) { my.client_ = a[0]; }},
    {"cookie (.+)", [](auto &my, auto &a) { my.cookies_[my.client_] = a[0]; }},
    {"no cookie", [](auto &my, auto &) { my.cookies_.erase(my.client_); }},
    {"(header|token|verb|type|length) (.+)", [](auto &my, auto &a) { my.setNext(a[0], a[1]); }},
    {"chunked without an end", [](auto &my, auto &) { my.setNext("chunked", ""); }},
    {"chunked", [](auto &my, auto &) { my.setNext("chunked", "0\r\n\r\n"); }},
    {"(hang|deaf)", [](auto &my, auto &a) { my.setNext(a[0], ""); }},
    {"file " PATH " ?(.*)", [](auto &, auto &a) { write(a[0], a[1]); }},
    {"fifo " PATH, [](auto &, auto &a) { require(mkfifo(a[0].c_str(), 0600) == 0, "no fifo"); }},
    {"folder " PATH, [](auto &, auto &a) { require(fs::create_directories(a[0]), "it exists"); }},
    {"remove " PATH, [](auto &, auto &a) { require(fs::remove_all(a[0]) > 0, "it is not there"); }},
    {"wait (.+)", [](auto &, auto &a) { skipTime(toNumber<int>(a[0])); }},
    {"failures " ADDRESS, [](auto &, auto &a) { fail(a[0]); }}};

const std::vector<WebCases::Word> WebCases::CHECKS = {
    {"absent " PATH, [](auto &, auto &a) { require(!fs::exists(a[0]), a[0] + " exists"); }},
    {"content " PATH " ?(.*)", [](auto &, auto &a) { requireSame(a[0], a[1], readable(a[0])); }},
    {"asks (.+)",
     [](auto &my, auto &a) {
         requireSame("level asked", a[0], std::to_string(my.fake_->askedLevel));
     }},
    {"sends (.+)", [](auto &, auto &a) { requireSame("sends", a[0], std::to_string(sends_)); }},
    {"trims (.+)",
     [](auto &my, auto &a) { requireSame("trims", a[0], std::to_string(my.fake_->trims)); }},
    {"sessions (.+)",
     [](auto &, auto &a) { requireSame("sessions", a[0], std::to_string(numOfSessions)); }},
    {"(?:no calls|calls (.+))", [](auto &my, auto &a) { my.checkCalls(a[0]); }}};

std::unique_ptr<Dialect> makeWebDialect()
{
    return std::make_unique<WebCases>();
}
