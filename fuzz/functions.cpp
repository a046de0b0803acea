// fuzz/functions.cpp: the small functions, compared with what they promise, written another way.
#include <cstring>
#include <memory>

#include "base/base64.h"
#include "base/text.h"
#include "choices.h"
#include "clients.h"
#include "http/form_fields.h"
#include "net/request_end.h"
#include "soap/clock_text.h"
#include "soap/fault_detail.h"
#include "soap/validation.h"
#include "web/file_location.h"
#include "web/path_utils.h"
#include "webServer.h"

static const std::string DIGITS = "0123456789";
static const std::string LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static const std::string BASE64 = LETTERS + DIGITS + "+/";
static const std::string OF_A_NAME = LETTERS + DIGITS + "-._";
static const Pairs MARKUP = {
    {"&",  "&amp;"},
    {"<",  "&lt;" },
    {">",  "&gt;" },
    {"\r", "&#xD;"}
};

// A text in memory without a byte to spare, so that the address sanitizer sees every step beyond its end.
static std::unique_ptr<char[]> exact(const std::string &text)
{
    std::unique_ptr<char[]> memory(new char[text.size() + 1]);
    memcpy(memory.get(), text.c_str(), text.size() + 1);
    return memory;
}

static bool consistsOf(const std::string &text, const std::string &letters)
{
    return text.find_first_not_of(letters) == std::string::npos;
}

static std::string encoded(const std::string &text) // three bytes are four digits of six bits
{
    std::string digits;
    for (std::size_t at = 0; at < text.size(); at += 3)
        for (unsigned digit = 0; digit < 4; ++digit) {
            unsigned bits = 0;
            for (std::size_t i = at; i < at + 3; ++i)
                bits = bits << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
            digits += at + digit > text.size() ? '=' : BASE64[bits >> (18 - 6 * digit) & 63];
        }
    return digits;
}

// What malformed texts decode to is in tests/base; here they must not write beyond the room.
static void base64(const std::string &text, Choices &in)
{
    const auto bytes = static_cast<int>(text.size());
    const std::size_t length = (text.size() + 2) / 3 * 4, size = in.upTo(length + 8);
    const std::size_t limit = 1 + in.upTo(300);
    const std::unique_ptr<char[]> coded(new char[size]), plain = exact(text);
    const std::unique_ptr<unsigned char[]> cut(new unsigned char[limit + BASE64_OVERSHOOT]),
        back(new unsigned char[text.size() + BASE64_OVERSHOOT]);
    const int result = httpBase64encode(reinterpret_cast<unsigned char *>(plain.get()), bytes,
                                        coded.get(), static_cast<int>(size));
    must(result == (length < size ? 0 : -1), "encode", text);
    must(result == -1
             || (coded.get() == encoded(text)
                 && httpBase64decode(coded.get(), back.get(), bytes) == bytes
                 && memcmp(back.get(), text.data(), text.size()) == 0),
         "there and back", text);
    must(httpBase64decode(plain.get(), cut.get(), static_cast<int>(limit))
             < static_cast<int>(limit + BASE64_OVERSHOOT),
         "decode", text);
}

static void paths(const std::string &text, Choices &)
{
    const std::unique_ptr<char[]> plain = exact(text), parent = exact(text);
    char path[PATH_PART_SIZE], query[PATH_PART_SIZE], name[FILE_NAME_SIZE];
    parseURL(plain.get(), path, query);
    const std::string first = text.substr(0, std::min<std::size_t>(text.find('?'), 300));
    must(path == first && query == text.substr(first.size(), 300), "parseURL", text);
    const std::string start = text.substr(0, 4);
    const bool configured = start == "/cfg", kept = start == "/nvr", data = start == "/pri";
    const std::string folder = configured ? g_configDir
                               : kept     ? "/mnt/nvRam/"
                               : data     ? "/mnt"
                                          : g_webDir;
    const std::size_t dropped = configured || kept ? 10 : !data && first[0] == '/' ? 1 : 0;
    const std::string file = folder + first.substr(std::min(dropped, first.size()));
    const bool whole = locateFile(plain.get(), path, name);
    must(name == file.substr(0, sizeof name - 1) && (whole || strlen(name) == sizeof name - 1),
         "locateFile", text);
    must((validateFilenameSyntax(plain.get()) != 0) == consistsOf(text, OF_A_NAME), "name", text);
    must((validatePathSyntax(plain.get()) != 0) == consistsOf(text, OF_A_NAME + "/"), "path", text);
    getFolderPath(parent.get());
    must(parent.get()
             == (text.find('/') == std::string::npos ? text : text.substr(0, text.rfind('/') + 1)),
         "getFolderPath", text);

    const std::string expected = replaced(text, Pairs(1, {"/cfgFiles", g_configDir}));
    char *translated = nullptr;
    const bool special = traduceWebToFsPath(&translated, plain.get()) == 1;
    must(special == (text.rfind("/cfgFiles", 0) == 0)
             && translated == (special ? expected : g_webDir + text),
         "traduceWebToFsPath", text);
    free(translated);
}

static void escapes(const std::string &text, Choices &in)
{
    std::string expected;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool coded = text[at] == '%' && at + 2 < text.size();
        const std::string digits = coded ? text.substr(at + 1, 2) : "";
        expected += coded ? x2c(digits.data()) : text[at];
        must(!coded || !consistsOf(digits, DIGITS + "ABCDEFabcdef")
                 || (expected.back() & 0xFF) == std::stoi(digits, nullptr, 16),
             "x2c", text);
        at += digits.size();
    }
    const std::unique_ptr<char[]> unescaped = exact(text);
    unescape_url(unescaped.get());
    must(strcmp(unescaped.get(), expected.c_str()) == 0, "unescape_url", text);

    static struct soap *const soap = soap_new();
    expected = text.substr(0, fittingBytes(text, 1023));
    std::replace_if(
        expected.begin(), expected.end(),
        [](char c) { return c > 0 && c < ' ' && strchr("\t\n\r", c) == nullptr; }, '?');
    must(faultDetail(soap, "%s", exact(text).get()) == replaced(expected, MARKUP), "faultDetail",
         text);
    soap_end(soap);

    const std::size_t size = 1 + in.upTo(300);
    const std::unique_ptr<char[]> memory(new char[size]);
    TextWriter(memory.get(), size).append(text);
    const std::string kept = memory.get();
    must(text.rfind(kept, 0) == 0 && kept.size() < size
             && (kept == text || kept.size() + 4 >= size),
         "a cut", text);
    must(kept == text || (text[kept.size()] & 0xC0) != 0x80 || kept.size() == size - 1,
         "within a character", text);
}

static void fields(const std::string &text, Choices &)
{
    std::vector<long> values;
    for (const std::string &field : split(text, ":"))
        if (!field.empty() && values.size() < 6)
            values.push_back(strtol(field.c_str(), nullptr, 10));
    static const long LOW[] = {0, 1, 1, 0, 0, 0}, HIGH[] = {99, 12, 31, 23, 59, 59};
    bool valid = consistsOf(text, DIGITS + ":") && values.size() == 6;
    for (std::size_t i = 0; valid && i < 6; ++i)
        valid = values[i] >= LOW[i] && values[i] <= HIGH[i];
    struct tm at = {};
    must(parseClock(exact(text).get(), &at) == valid, "parseClock", text);
    must(!valid
             || values
                    == std::vector<long>{at.tm_year - 100, at.tm_mon + 1, at.tm_mday, at.tm_hour,
                                         at.tm_min, at.tm_sec},
         "a clock", text);

    std::string found;
    const std::unique_ptr<char[]> form = exact(text), same = exact(text);
    for (FormFields field(form.get(), DECODED); field.next();)
        must(strlen(field.value) < text.size(), "FormFields", text);
    for (FormFields field(same.get(), AS_SENT); field.next();)
        found += field.key + ("=" + std::string(field.value)) + "&";
    must((text + "&").rfind(found, 0) == 0, "fields as sent", text);

    const auto starts = [&](const Lines &words) {
        return std::any_of(words.begin(), words.end(),
                           [&](auto &word) { return text.rfind(word, 0) == 0; });
    };
    const auto isValid = [plain = exact(text)](const char *field) {
        return wsInputStringValidation("ns__coreDbReadMultData", field, plain.get()) != 0;
    };
    const bool isType = starts({"status", "analog", "command", "setPoint"});
    must(isValid("inputType") == isType, "inputType", text);
    must(isValid("inputFormat") == (text.empty() || starts({"%d", "%u", "%g"})), "inputFormat",
         text);
}

static void ends(const std::string &text, Choices &in)
{
    RequestEnd whole, pieces;
    whole.see(text.data(), text.size());
    for (std::size_t at = 0, size; at < text.size(); at += size) {
        size = std::min(1 + in.upTo(20), text.size() - at);
        pieces.see(exact(text.substr(at, size)).get(), size);
    }
    must(whole.isComplete() == pieces.isComplete() && whole.isUnclosed() == pieces.isUnclosed()
             && whole.takeContinue() == pieces.takeContinue(),
         "RequestEnd", text);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    static void (*const FUNCTIONS[])(const std::string &, Choices &) = {base64, paths, escapes,
                                                                        fields, ends};
    Choices in(data, size);
    const std::size_t number = in.upTo(std::size(FUNCTIONS) - 1);
    const std::string bytes = in.bytes(1100);
    FUNCTIONS[number](bytes.substr(0, bytes.find('\0')), in); // as far as a C string goes
    return 0;
}
