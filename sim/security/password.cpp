// sim/security/password.cpp: passwords as hashes, by the system's crypt.
#include "security/password.h"

#include <algorithm>
#include <crypt.h>
#include <cstring>

static const char *const METHOD = "$y$"; // yescrypt
static const unsigned long DEFAULT_COST = 0;
static const char MAX_COST = '9';       // the default's
static const std::size_t SALT_END = 29; // in a hash
static const std::size_t HASH_BYTES = 73;
static const std::size_t MIN_BYTES = 8;
static const std::size_t MAX_BYTES = 127; // what the login page can send

// Too large for a stack, and cleared after each use. Service thread only, as everything here.
static struct crypt_data work;

// Empty: failed, as with a password of 512 bytes or more.
static std::string hashWith(const char *password, const char *setting)
{
    const char *hash = crypt_rn(password, setting, &work, sizeof work);
    std::string result = hash == nullptr ? "" : hash;
    explicit_bzero(&work, sizeof work);
    return result;
}

std::string hashPassword(const char *password)
{
    char setting[CRYPT_GENSALT_OUTPUT_SIZE]; // with a salt from the system's random source
    if (crypt_gensalt_rn(METHOD, DEFAULT_COST, nullptr, 0, setting, sizeof setting) == nullptr)
        return {};
    return hashWith(password, setting);
}

bool passwordMatches(const char *password, const std::string &hash)
{
    const std::string other = hashWith(password, hash.c_str());
    return !other.empty() && other == hash;
}

// "$y$j", two letters of the cost, "$", salt, "$", hash. What costs more would hold up everybody.
bool isHash(const std::string &text)
{
    return text.size() == HASH_BYTES && text.compare(0, 4, "$y$j") == 0 && text[4] <= MAX_COST
           && text[6] == '$' && text.rfind('$') == SALT_END
           && crypt_checksalt(text.c_str()) != CRYPT_SALT_INVALID;
}

bool isFitPassword(const char *text)
{
    const std::size_t length = strlen(text);
    const auto isControl = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
    return length >= MIN_BYTES && length <= MAX_BYTES
           && std::none_of(text, text + length, isControl);
}
