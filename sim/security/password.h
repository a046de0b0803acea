// sim/security/password.h: passwords as salted hashes that are slow to guess.
#ifndef SIM_SECURITY_PASSWORD_H
#define SIM_SECURITY_PASSWORD_H

#include <string>

// Returns a hash with a new salt. Throws when there is no memory.
std::string hashPassword(const char *password);

// Returns true if this is the password of the hash.
bool passwordMatches(const char *password, const std::string &hash);

// Returns true if the text is a hash that hashPassword() could have made, or one of lower cost.
bool isHash(const std::string &text);

// Returns true if the text may be a new password: 8 to 127 bytes without control characters.
bool isFitPassword(const std::string &text);

#endif
