// web/path_utils.cpp: splits, unescapes, translates and checks request paths and file names.
#include "web/path_utils.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "webServer.h"

// Copies up to size - 1 characters, and ends before the character stop. Returns where it ended.
static const char *copyUntil(const char *from, char stop, char *to, std::size_t size)
{
    for (; size > 1 && *from != '\0' && *from != stop; --size)
        *to++ = *from++;
    *to = '\0';
    return from;
}

int parseURL(const char *url, char *path, char *query)
{
    if (url != nullptr)
        copyUntil(copyUntil(url, '?', path, PATH_PART_SIZE), '\0', query, PATH_PART_SIZE);
    return 0;
}

// Deliberate: no check that the character is a hexadecimal digit.
static unsigned valueOf(char character)
{
    const auto code = static_cast<unsigned char>(character);
    return code > '@' ? (code & ~0x20U) - ('A' - 10) : code - unsigned{'0'};
}

char x2c(const char *digits)
{
    return static_cast<char>(valueOf(digits[0]) * 16 + valueOf(digits[1]));
}

void unescape_url(char *text)
{
    char *to = text;
    for (const char *from = text; *from != '\0'; ++from) {
        *to = *from;
        if (*from == '%' && from[1] != '\0' && from[2] != '\0') {
            *to = x2c(from + 1);
            from += 2;
        }
        ++to;
    }
    *to = '\0';
}

static std::size_t countOf(const char *text, const char *search)
{
    std::size_t count = 0;
    while ((text = strstr(text, search)) != nullptr) {
        text += strlen(search);
        ++count;
    }
    return count;
}

char *replace_str(const char *text, const char *search, const char *replacement)
{
    if (*search == '\0')
        return strdup(text);
    const std::size_t count = countOf(text, search);
    const std::size_t size =
        strlen(text) - count * strlen(search) + count * strlen(replacement) + 1;
    char *result = static_cast<char *>(malloc(size));
    if (result == nullptr)
        return nullptr;
    char *to = result;
    while (const char *found = strstr(text, search)) {
        to = static_cast<char *>(mempcpy(to, text, static_cast<std::size_t>(found - text)));
        to = stpcpy(to, replacement);
        text = found + strlen(search);
    }
    stpcpy(to, text);
    return result;
}

int traduceWebToFsPath(char **out, const char *webPath)
{
    const char folder[] = "/cfgFiles";
    if (strncmp(webPath, folder, strlen(folder)) == 0) {
        *out = replace_str(webPath, folder, g_configDir);
        return 1;
    }
    if (asprintf(out, "%s%s", g_webDir, webPath) < 0)
        *out = nullptr;
    return 0;
}

// Deliberate: ".." passes both. They check characters, not where a path leads.
static constexpr char PATH_CHARACTERS[] =
    "/-._0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static constexpr const char *FILENAME_CHARACTERS = PATH_CHARACTERS + 1; // all but "/"

static int consistsOf(const char *text, const char *characters)
{
    return text[strspn(text, characters)] == '\0' ? 1 : 0;
}

int validatePathSyntax(const char *text)
{
    return consistsOf(text, PATH_CHARACTERS);
}

int validateFilenameSyntax(const char *text)
{
    return consistsOf(text, FILENAME_CHARACTERS);
}

char *getFolderPath(char *text)
{
    char *last = strrchr(text, '/');
    if (last != nullptr)
        last[1] = '\0';
    return last;
}
