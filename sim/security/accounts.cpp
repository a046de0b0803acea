// sim/security/accounts.cpp: the users in memory and in their file, one on each line.
#include "security/accounts.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "files.h"
#include "mnt.h"
#include "plain_text.h"
#include "require.h"
#include "security/password.h"
#include "webServer.h"
#include "webServerHost.h"

using nlohmann::json;

// Web paths can leave the web root, so a client may be able to read this file. It therefore has only hashes
// that are slow to compute.
static const char *const FOLDER = "/mnt/flash/security";
static const char *const FILE_PATH = "/mnt/flash/security/accounts";
static const mode_t FOLDER_MODE = 0700;
static const mode_t FILE_MODE = 0600;

static const int FAILURES_TO_LOCK = 5; // in a row
static const int LOCK_SECONDS = 60;

static std::vector<Account> accounts;

const Role ROLES[] = {
  // name      level            administers users
    {"VIEWER",   WS_LEVEL_READ,   false},
    {"OPERATOR", WS_LEVEL_WRITE,  false},
    {"ENGINEER", WS_LEVEL_REBOOT, false},
    {"ADMIN",    WS_LEVEL_REBOOT, true },
};

const Role *findRole(const std::string &name)
{
    for (const Role &role : ROLES)
        if (name == role.name)
            return &role;
    return nullptr;
}

int Account::level() const
{
    int highest = 0;
    for (const std::string &role : roles)
        highest = std::max(highest, findRole(role)->level);
    return highest;
}

bool Account::administers() const
{
    return std::any_of(roles.begin(), roles.end(),
                       [](const std::string &role) { return findRole(role)->administers; });
}

bool Account::isLocked() const
{
    return locked || Clock::now() < lockedUntil;
}

void Account::forgetFailures()
{
    failures = 0;
    lockedUntil = {};
}

// Returns true if there is an administrator who is not locked. Without one, nobody could change the users.
static bool canBeAdministered(const std::vector<Account> &all)
{
    return std::any_of(all.begin(), all.end(), [](const Account &account) {
        return account.administers() && !account.locked;
    });
}

static Account toAccount(const json &entry)
{
    Account account;
    account.name = textField(entry, "name");
    account.hash = entry.at("hash");
    account.roles = entry.at("roles").get<std::vector<std::string>>();
    account.locked = entry.at("locked").get<bool>();
    // Lists of users separate names by spaces, and a colon ends the name before a password.
    require(!account.name.empty() && account.name.find_first_of(" :") == std::string::npos,
            R"("name" must not be empty nor contain spaces and colons)");
    require(isHash(account.hash),
            R"("hash" must be of yescrypt, at no more than its default cost)");
    for (const std::string &role : account.roles)
        require(findRole(role) != nullptr, "there is no role \"" + role + '"');
    require(findAccount(account.name) == nullptr, "user " + account.name + " is there twice");
    return account;
}

static void writeAccounts(const std::vector<Account> &all)
{
    std::string text;
    for (const Account &account : all) {
        const nlohmann::ordered_json entry = {
            {"name",   account.name  },
            {"hash",   account.hash  },
            {"roles",  account.roles },
            {"locked", account.locked}
        };
        text += (text.empty() ? "[\n  " : ",\n  ") + entry.dump();
    }
    replaceFile(FILE_PATH, text + "\n]\n", FILE_MODE);
}

void openAccounts()
{
    mkdir(FOLDER, FOLDER_MODE); // if this fails, writing the file fails as well, with the reason
    if (std::filesystem::exists(FILE_PATH)) {
        readEntries(FILE_PATH, {"name", "hash", "roles", "locked"},
                    [](const json &entry) { accounts.push_back(toAccount(entry)); });
        require(canBeAdministered(accounts),
                pathForPeople(FILE_PATH) + ": no administrator who can log in");
        return;
    }
    for (const char *name : {"admin", "engineer", "operator", "viewer"}) {
        std::string role = name;
        std::transform(role.begin(), role.end(), role.begin(), toupper);
        Account account;
        account.name = name;
        account.hash = hashPassword(name);
        account.roles = {role};
        accounts.push_back(account);
    }
    writeAccounts(accounts);
    sLogWarn("security: made the first users; their passwords are their names");
}

const std::vector<Account> &allAccounts()
{
    return accounts;
}

Account *findAccount(const std::string &name)
{
    for (Account &account : accounts)
        if (account.name == name)
            return &account;
    return nullptr;
}

static void noteFailure(Account *account)
{
    sLogWarn("security: wrong password: %s", inQuotes(account->name).c_str());
    if (++account->failures < FAILURES_TO_LOCK)
        return;
    // The user's sessions go on: otherwise any stranger could end them.
    account->failures = 0;
    account->lockedUntil = Account::Clock::now() + std::chrono::seconds(LOCK_SECONDS);
    sLogWarn("security: locked for %d seconds: %s", LOCK_SECONDS, inQuotes(account->name).c_str());
}

const Account *checkPassword(const std::string &user, const char *password)
{
    Account *account = findAccount(user);
    // An unknown user takes as long as a known one, so that the time does not reveal who exists.
    const bool matches = passwordMatches(password, (account ? *account : accounts.front()).hash);
    if (account == nullptr) {
        sLogWarn("security: no such user: %s", inQuotes(user).c_str());
    } else if (account->isLocked()) {
        sLogWarn("security: is locked: %s", inQuotes(user).c_str());
    } else if (!matches) {
        noteFailure(account);
    } else {
        account->failures = 0;
        return account;
    }
    return nullptr;
}

AdministrationStatus changeAccount(const Account &changed)
{
    std::vector<Account> all = accounts;
    for (Account &account : all)
        if (account.name == changed.name)
            account = changed;
    if (!canBeAdministered(all))
        return ADMIN_NOBODY_LEFT;
    writeAccounts(all);
    accounts = all;
    return ADMIN_DONE;
}
