// sim/security/password.h: passwords as salted hashes that are slow to guess.
#ifndef SIM_SECURITY_PASSWORD_H
#define SIM_SECURITY_PASSWORD_H

#include <string>

std::string hashPassword(const char *password); // throws

bool passwordMatches(const char *password, const std::string &hash);

// Can a password be compared with it?
bool isHash(const std::string &text);

// May it be a new password?
bool isFitPassword(const std::string &text);

#endif
