// tests/support/given.cpp: the word "given" of the cases, which sets up the host.
#include "support/cases.h"

#include <map>

using Change = std::function<void(FakeHost &fake, const std::string &value)>;

template <typename Value> static Value read(const std::string &text)
{
    if constexpr (std::is_arithmetic_v<Value>)
        return toNumber<Value>(text);
    else if constexpr (std::is_same_v<Value, Lines>)
        return split(text, ",");
    else
        return text;
}

template <typename Value> static Change sets(Value FakeHost::*member)
{
    return [=](FakeHost &fake, const std::string &text) { fake.*member = read<Value>(text); };
}

static Change sets(int *global)
{
    return [=](FakeHost &, const std::string &text) { *global = read<int>(text); };
}

// A name that ends in "=" has a value.
static const std::map<std::string, Change> NAMES = {
    {"answer=", sets(&FakeHost::answer)},
    {"answerStatus=", sets(&FakeHost::answerStatus)},
    {"coreDb=", sets(&FakeHost::coreDbVersion)},
    {"count=", sets(&FakeHost::namesCount)},
    {"cpu=", [](auto &fake, auto &text) { fake.cpuSecondsPerLook = toNumber<int>(text); }},
    {"cpuMs=", sets(&g_webCpuMs)},
    {"csEnabled=", sets(&g_csEnabled)},
    {"gate records", [](auto &fake, auto &) { fake.gateRecords = true; }},
    {"highLevel=", sets(&g_highLevel)},
    {"id=", sets(&FakeHost::sessionId)},
    {"level=", sets(&FakeHost::level)},
    {"ms=", sets(&FakeHost::milliseconds)},
    {"names=", sets(&FakeHost::names)},
    {"no close", [](auto &, auto &) { pgf_closeSession = nullptr; }},
    {"no coreDb", [](auto &fake, auto &) { fake.coreDbVersion.reset(); }},
    {"no gate", [](auto &, auto &) { pgf_parseAuth = nullptr; }},
    {"no hooks", [](auto &, auto &) { removeSecurityHooks(); }},
    {"no memory=", sets(&FakeHost::refusedBytes)},
    {"no random", [](auto &fake, auto &) { fake.noRandom = true; }},
    {"no time", [](auto &fake, auto &) { fake.noTime = true; }},
    {"now=", sets(&FakeHost::now)},
    {"point=", sets(&FakeHost::point)},
    {"read=", sets(&FakeHost::readResult)},
    {"remote=", sets(&g_webRemote)},
    {"security", [](auto &, auto &) { installSecurityHooks(); }},
    {"sessionStatus=", sets(&FakeHost::sessionStatus)},
    {"silent", [](auto &fake, auto &) { fake.silent = true; }},
    {"status=", sets(&FakeHost::status)},
    {"strdups=", sets(&FakeHost::strdups)},
    {"strict=", sets(&g_webStrict)},
    {"timeModule=", sets(&FakeHost::timeModule)},
    {"timeSource=", sets(&FakeHost::timeSource)},
    {"timeout=", sets(&sessTimeOut)},
    {"verdict=", sets(&FakeHost::verdict)}};

void give(FakeHost &fake, const std::string &settings)
{
    for (const std::string &part : settings.empty() ? Lines() : split(settings, " | ")) {
        const std::size_t length = std::min(part.find('='), part.size() - 1) + 1;
        const auto known = NAMES.find(part.substr(0, length));
        require(known != NAMES.end(), "given does not know: " + shown(part));
        known->second(fake, expanded(part.substr(length)));
    }
}
