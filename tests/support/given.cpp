// tests/support/given.cpp: the word "given" of the cases, which sets up the host.
#include "support/given.h"

#include <map>
#include <set>

#include "support/cases.h"

using Change = std::function<void(FakeHost &)>;

template <typename Value> static auto sets(Value FakeHost::*member)
{
    return [member](const std::string &text) -> Change {
        if constexpr (std::is_arithmetic_v<Value>)
            return [=, value = toNumber<Value>(text)](FakeHost &fake) { fake.*member = value; };
        else
            return [=](FakeHost &fake) { fake.*member = text; };
    };
}

static auto setsGlobal(int *global)
{
    return [global](const std::string &text) -> Change {
        return [global, value = toNumber<int>(text)](FakeHost &) { *global = value; };
    };
}

using Names = std::map<std::string, std::function<Change(const std::string &value)>>;

static const Names &valueNames()
{
    static const Names names = {{"answer", sets(&FakeHost::answer)},
                                {"answerStatus", sets(&FakeHost::answerStatus)},
                                {"coreDb", sets(&FakeHost::coreDbVersion)},
                                {"count", sets(&FakeHost::namesCount)},
                                {"csEnabled", setsGlobal(&g_csEnabled)},
                                {"highLevel", setsGlobal(&g_highLevel)},
                                {"id", sets(&FakeHost::sessionId)},
                                {"level", sets(&FakeHost::level)},
                                {"ms", sets(&FakeHost::milliseconds)},
                                {"names",
                                 [](const std::string &text) -> Change {
                                     return [=](FakeHost &fake) { fake.names = split(text, ","); };
                                 }},
                                {"no memory", sets(&FakeHost::refusedBytes)},
                                {"now", sets(&FakeHost::now)},
                                {"point", sets(&FakeHost::point)},
                                {"read", sets(&FakeHost::readResult)},
                                {"remote", setsGlobal(&g_webRemote)},
                                {"sessionStatus", sets(&FakeHost::sessionStatus)},
                                {"status", sets(&FakeHost::status)},
                                {"strdups", sets(&FakeHost::strdups)},
                                {"timeModule", sets(&FakeHost::timeModule)},
                                {"timeSource", sets(&FakeHost::timeSource)},
                                {"timeout", setsGlobal(&sessTimeOut)},
                                {"verdict", sets(&FakeHost::verdict)}};
    return names;
}

static const std::map<std::string, Change> &plainNames()
{
    static const std::map<std::string, Change> names = {
        {"no close", [](FakeHost &) { pgf_closeSession = nullptr; }},
        {"no coreDb", [](FakeHost &fake) { fake.coreDbVersion.reset(); }},
        {"no gate", [](FakeHost &) { pgf_parseAuth = nullptr; }},
        {"no hooks", [](FakeHost &) { removeSecurityHooks(); }},
        {"no time", [](FakeHost &fake) { fake.noTime = true; }},
        {"security", [](FakeHost &) { installSecurityHooks(); }},
        {"silent", [](FakeHost &fake) { fake.silent = true; }}};
    return names;
}

Given readGiven(const std::string &text)
{
    Given given;
    std::set<std::string> seen;
    for (const std::string &part : split(text, " | ")) {
        const std::size_t end = part.find('=');
        const std::string name = part.substr(0, end);
        require(seen.insert(name).second, "given twice: " + name);
        const bool plain = end == std::string::npos;
        if (plain && name == "fresh") {
            require(seen.size() == 1, "fresh must come first");
            given.fresh = true;
            continue;
        }
        require((plain ? plainNames().count(name) : valueNames().count(name)) != 0,
                "given does not know: " + shown(part));
        given.changes.push_back(plain ? plainNames().at(name)
                                      : valueNames().at(name)(expanded(part.substr(end + 1))));
    }
    return given;
}
