// fuzz/sequences.cpp: up to 40 requests from four addresses: logins, cookies of all, uploads, pages, calls.
#include <cerrno>
#include <cstdlib>
#include <map>
#include <set>

#include "choices.h"
#include "support/wire.h"
#include "unit.h"

// Sets the environment without memory of its own: to what the function chooses of the values between "|".
template <typename Choose> static void configure(Choose choose)
{
    static const char *const CHOICES[][2] = {
        {"SERVER_PORT",   "33081|33082|0|x|-1|70000"}, // those from "-1" on: no start
        {"SERVER_ADDR",   "127.0.0.1||192.0.2.1"    }, // the last is not this machine's
        {"WEB_STRICT",    "N|Y"                     },
        {"WEB_IS_REMOTE", "N|Y"                     },
        {"WEB_CPU_MS",    "2000|-1|x"               }
    };
    static char settings[std::size(CHOICES)][40];
    for (std::size_t i = 0; i < std::size(CHOICES); ++i) {
        const std::string value = choose(CHOICES[i][1]);
        snprintf(settings[i], sizeof settings[i], "%s=%s", CHOICES[i][0], value.c_str());
        putenv(settings[i]);
    }
}

class Sequence {
    Choices in_;
    FreshUnit unit_;
    std::map<std::string, std::set<int>> owners_; // of each cookie that a login has set

    void changeHost()
    {
        unit_.host.level = in_.PickValueInArray<int>({50, 200, 0, -1});
        unit_.host.verdict = in_.PickValueInArray<int>({WS_ALLOWED, WS_NOT_AUTHENTICATED, 1});
        unit_.host.sessionStatus = in_.PickValueInArray<int>({0, 1, -1});
        unit_.host.sessionId = in_.oneOf("host-session|host-other||host;\r\nX: y");
        unit_.host.milliseconds += in_.ConsumeIntegral<uint32_t>();
        skipTime(static_cast<int>(in_.upTo(400000)));
        unit_.host.refusedBytes = in_.oneIn(4) ? in_.upTo(2000) : 0;
        unit_.host.strdups = in_.oneIn(4) ? static_cast<int>(in_.upTo(5)) : -1;
        if (in_.oneIn(4))
            failAccepts(static_cast<int>(in_.upTo(5)),
                        in_.PickValueInArray({EMFILE, ECONNABORTED}));
    }

    std::string cookie()
    {
        if (in_.oneIn(8))
            return "Cookie: " + in_.bytes(60) + "\r\n";
        std::size_t number = in_.upTo(owners_.size());
        for (const auto &[cookie, clients] : owners_)
            if (number-- == 0)
                return cookie;
        return "";
    }

    std::string request()
    {
        const std::string user = in_.oneOf("admin|adm|a|b|c|d|");
        const std::string headers =
            cookie() + in_.oneOf("|Accept: text/html\r\n|Origin: http://a\r\n");
        switch (in_.upTo(6)) {
        case 0:
            return command("cgiLogin", user, headers);
        case 1:
            return command(in_.oneOf("cgiLogout|cgiKeepAlive|cgiOther"), user, headers);
        case 2:
            return post("fileName=" + in_.oneOf("site.xml|netConfig.xml|linked.xml|../a.xml|b/c|")
                            + "&xmlString=<a>" + in_.bytes(90)
                            + std::string(in_.oneIn(8) ? in_.upTo(500000) : 0, 'x'),
                        headers, in_.oneOf("/cgi/upconfig|/cgi/printenv.html"));
        case 3:
            return post(envelope(in_.oneOf("getUsersList|getUserAuth|getRbacPerm|getLockedUsers"),
                                 "", in_.oneIn(2)),
                        headers, "/", "text/xml");
        case 4:
            return in_.bytes(300);
        default:
            return get(in_.oneOf("/cfgFiles/points.xml|/page.htm|/x/cslog.log|/|/style.css|"
                                 "/cfgFiles/site.xml|/cgi/index.htm|/x.png|/nvrFiles/a.xml"),
                       headers);
        }
    }

    static std::string cookieIn(const std::string &bytes)
    {
        const std::size_t at = bytes.find("Cookie: ");
        return at == std::string::npos ? "" : bytes.substr(at, bytes.find('\n', at) + 1 - at);
    }

    // The calls were served in an unknown order: what one of them permits may have come first.
    void check(const Call &call)
    {
        const std::string used = cookieIn(call.bytes);
        const auto owned = owners_.find(used);
        const bool own = owned != owners_.end() && owned->second.count(call.client) != 0;
        must(own || call.reply.find(SECRET) == std::string::npos, "a protected file", call.bytes);
        for (const auto &[cookie, clients] : owners_)
            must(clients.count(call.client) != 0 || used == cookie
                     || call.reply.find(cookie.substr(sizeof "Cookie: SESSIONID=" - 1))
                            == std::string::npos,
                 "another's session", call.reply);
    }

public:
    Sequence(const uint8_t *data, std::size_t size) : in_(data, size), unit_(in_.ConsumeBool())
    {
        g_webStrict = in_.oneIn(2) ? 1 : 0;
        failAccepts(0, 0);
    }

    void run()
    {
        const std::size_t mostRequests = 40;
        for (std::size_t requests = 0; requests < mostRequests && in_.remaining_bytes() > 0;) {
            if (in_.oneIn(4))
                changeHost();
            const bool mayWrite =
                g_csEnabled == 0 || unit_.host.verdict == WS_ALLOWED || filesAreWritten();
            std::vector<Call> calls;
            do
                calls.push_back({request(), 2 + static_cast<int>(in_.upTo(3)), !in_.oneIn(8),
                                 in_.oneIn(8) ? 500U : 99999U});
            while (in_.oneIn(4) && calls.size() < 4);
            requests += calls.size();
            if (in_.oneIn(128)) // more than the unit has places for
                calls.resize(calls.size() + in_.upTo(300), {in_.bytes(9), 9, false});
            int looks = -1;
            if (in_.oneIn(16)) {
                configure([&](const std::string &values) { return in_.oneOf(values); });
                unit_.host.refusedBytes = 0; // it could start without a plug-in
                looks = static_cast<int>(in_.upTo(20));
            }
            exchange(&calls, looks);
            for (const Call &call : calls)
                if (!cookieOf(call.reply).empty())
                    owners_[cookieOf(call.reply)].insert(call.client);
            for (const Call &call : calls)
                check(call);
            for (const Call &call : calls) // a logout, in Base64, needs the cookie only
                if (g_csEnabled == 0 && call.bytes.find("Y2dpTG9nb3V0") != std::string::npos)
                    owners_.erase(cookieIn(call.bytes));
            must(mayWrite || !filesAreWritten(), "a file that nobody was allowed to write");
        }
    }
};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    configure([](const std::string &values) { return values.substr(0, values.find('|')); });
    Sequence(data, size).run();
    return 0;
}
