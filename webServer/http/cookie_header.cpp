// http/cookie_header.cpp: reads the cookies that a client sends into gSOAP's list. gSOAP's own reader
// steps over the ";" after an empty value, after a "%" and in an open quote, so a cookie that another
// server at the unit's address has set could hide the session's. It also reads beyond the end of a long
// "Expires".
#include "http/cookie_header.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdsoap2.h>
#include <string_view>
#include <utility>

#include "http/cookies.h"

struct FreeText {
    void operator()(char *text) const { free(text); }
};
using Text = std::unique_ptr<char, FreeText>; // gSOAP also frees a cookie's texts by free()

static int (*parseHeader)(struct soap *, const char *, const char *);
static bool (*namesSession)(const char *id);

// Takes the name or the value at the cursor, without its quotes, and moves the cursor to the separator
// that ends it. Within quotes only ";" separates: a quote that is never closed ends there.
static std::string_view takePart(const char **cursor, const char *separators)
{
    const char *const begin = *cursor + strspn(*cursor, " \t");
    const char *end = begin + strcspn(begin, separators);
    *cursor = end;
    if (*begin == '"') {
        const char *const quote = begin + 1 + strcspn(begin + 1, "\";");
        if (*quote == '"') {
            *cursor = quote + strcspn(quote, separators);
            return {begin + 1, static_cast<std::size_t>(quote - begin - 1)};
        }
    }
    return {begin, static_cast<std::size_t>(end - begin)};
}

static bool isEscape(std::string_view text)
{
    const auto isHex = [text](std::size_t at) {
        return isxdigit(static_cast<unsigned char>(text[at])) != 0;
    };
    return text.size() >= 3 && text[0] == '%' && isHex(1) && isHex(2);
}

// Returns a copy in which every %XX is one byte; null when there is no memory.
static Text decoded(std::string_view part)
{
    Text text(static_cast<char *>(malloc(part.size() + 1)));
    if (text == nullptr)
        return nullptr;
    char *to = text.get();
    while (!part.empty()) {
        if (isEscape(part)) {
            const char digits[] = {part[1], part[2], '\0'};
            *to++ = static_cast<char>(strtoul(digits, nullptr, 16));
            part.remove_prefix(3);
        } else {
            *to++ = part[0];
            part.remove_prefix(1);
        }
    }
    *to = '\0';
    return text;
}

// Sets the fields as gSOAP does for a cookie that it has received. A gate may look it up by
// soap_cookie_value(), which compares domain and path. Returns false when there is no memory.
static bool appendCookie(struct soap_cookie **end, Text name, Text value)
{
    Text domain = decoded(""), path = decoded("");
    *end = static_cast<struct soap_cookie *>(calloc(1, sizeof **end));
    if (*end == nullptr || domain == nullptr || path == nullptr) {
        free(std::exchange(*end, nullptr));
        return false;
    }
    (*end)->name = name.release();
    (*end)->value = value.release();
    (*end)->domain = domain.release();
    (*end)->path = path.release();
    (*end)->maxage = -1;
    (*end)->session = 1;
    (*end)->env = 1;
    return true;
}

// Of cookies with the same name the last one counts; of several SESSIONID the first that names a session,
// because another server at the unit's address may have set one as well. Returns false when there is no
// memory.
static bool keepCookie(struct soap *soap, Text name, Text value)
{
    if (name == nullptr || value == nullptr)
        return false;
    // Names with "$" are attributes of RFC 2965, which say nothing about the value.
    if (*name == '\0' || *name == '$')
        return true;
    if (*value == '\0')
        value.reset(); // gSOAP keeps an empty value as null
    int room = soap->cookie_max;
    struct soap_cookie **place = &soap->cookies;
    for (; *place != nullptr && strcmp((*place)->name, name.get()) != 0; place = &(*place)->next)
        --room;
    if (*place == nullptr)
        return room <= 0 || appendCookie(place, std::move(name), std::move(value));
    if (strcmp(name.get(), SESSION_COOKIE) != 0 || !namesSession((*place)->value)) {
        free((*place)->value);
        (*place)->value = value.release();
    }
    return true;
}

// Returns false when there is no memory for all of them.
static bool readCookies(struct soap *soap, const char *cursor)
{
    while (*(cursor += strspn(cursor, " \t=,;")) != '\0') {
        Text name = decoded(takePart(&cursor, "=,;"));
        std::string_view value;
        if (*cursor == '=')
            value = takePart(&++cursor, ",;");
        if (!keepCookie(soap, std::move(name), decoded(value)))
            return false;
    }
    return true;
}

// The fparsehdr callback.
extern "C" {
static int parseCookieHeader(struct soap *soap, const char *key, const char *value)
{
    if (soap_tag_cmp(key, "Cookie") != 0 && soap_tag_cmp(key, "Cookie2") != 0)
        return parseHeader(soap, key, value);
    // A request without one of its cookies might be taken for another user's.
    return readCookies(soap, value) ? SOAP_OK : soap->error = SOAP_EOM;
}
}

void readCookieHeaders(struct soap *soap, bool (*isSession)(const char *id))
{
    namesSession = isSession;
    parseHeader = soap->fparsehdr;
    soap->fparsehdr = parseCookieHeader;
}
