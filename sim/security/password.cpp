// sim/security/password.cpp: passwords as hashes, by the system's crypt.
#include "security/password.h"

#include <algorithm>
#include <crypt.h>
#include <cstring>

#include "require.h"

static const char *const METHOD = "$y$"; // yescrypt
static const unsigned long DEFAULT_COST = 0;
static const char MAX_COST = '9';       // the first letter of the default cost
static const std::size_t SALT_END = 29; // position in a hash
static const std::size_t HASH_BYTES = 73;
static const std::size_t MIN_BYTES = 8;
static const std::size_t MAX_BYTES = 127; // the login page can send no more

// Returns the hash; an empty text on failure, for example for a password of 512 bytes or more.
static std::string hashWith(const char *password, const char *setting)
{
    static struct crypt_data work; // too large for a stack
    const char *hash = crypt_rn(password, setting, &work, sizeof work);
    std::string result = hash == nullptr ? "" : hash;
    explicit_bzero(&work, sizeof work);
    return result;
}

std::string hashPassword(const char *password)
{
    char setting[CRYPT_GENSALT_OUTPUT_SIZE] = ""; // with a salt from the system's random source
    crypt_gensalt_rn(METHOD, DEFAULT_COST, nullptr, 0, setting, sizeof setting);
    std::string hash = hashWith(password, setting);
    require(isHash(hash), "cannot hash a password: out of memory?");
    return hash;
}

bool passwordMatches(const char *password, const std::string &hash)
{
    return hashWith(password, hash.c_str()) == hash;
}

// A hash is "$y$j", two letters of the cost, "$", salt, "$", hash. One of higher cost would block the
// service for longer at every login.
bool isHash(const std::string &text)
{
    return text.size() == HASH_BYTES && text.compare(0, 4, "$y$j") == 0 && text[4] <= MAX_COST
           && text[6] == '$' && text.rfind('$') == SALT_END
           && crypt_checksalt(text.c_str()) != CRYPT_SALT_INVALID;
}

bool isFitPassword(const std::string &text)
{
    const auto isControl = [](unsigned char byte) { return byte < ' ' || byte == 0x7f; };
    return text.size() >= MIN_BYTES && text.size() <= MAX_BYTES
           && std::none_of(text.begin(), text.end(), isControl);
}
