// sim/security/credentials.cpp: checks passwords, and counts the wrong ones.
#include "security/credentials.h"

#include "log.h"
#include "security/password.h"
#include "webServerHost.h"

static const int FAILURES_TO_LOCK = 5; // in a row
static const int LOCK_SECONDS = 60;

static void noteFailure(Account *account)
{
    sLogWarn("security: wrong password: %s", inQuotes(account->name).c_str());
    if (++account->failures < FAILURES_TO_LOCK)
        return;
    // His sessions go on, or a stranger could end them.
    account->failures = 0;
    account->lockedUntil = Account::Clock::now() + std::chrono::seconds(LOCK_SECONDS);
    sLogWarn("security: locked for %d seconds: %s", LOCK_SECONDS, inQuotes(account->name).c_str());
}

const Account *checkCredentials(const char *user, const char *password)
{
    Account *account = findAccount(user);
    // With somebody's hash for an unknown user, too, so that the time taken tells nothing.
    const Account &compared = account == nullptr ? allAccounts().front() : *account;
    const bool matches = passwordMatches(password, compared.hash);
    if (account == nullptr) {
        sLogWarn("security: no such user: %s", inQuotes(user).c_str());
        return nullptr;
    }
    if (account->isLocked()) {
        sLogWarn("security: is locked: %s", inQuotes(user).c_str());
        return nullptr;
    }
    if (!matches) {
        noteFailure(account);
        return nullptr;
    }
    account->failures = 0;
    return account;
}
