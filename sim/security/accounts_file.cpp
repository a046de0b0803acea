// sim/security/accounts_file.cpp: reads and writes the users, one a line.
#include "security/accounts_file.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "files.h"
#include "json_file.h"
#include "security/password.h"

using nlohmann::json;

static const mode_t FILE_MODE = 0600;

static const std::vector<Field> &accountFields()
{
    static const std::vector<Field> fields = {
        {"name",   TEXT, true},
        {"hash",   TEXT, true},
        {"roles",  LIST, true},
        {"locked", FLAG, true},
    };
    return fields;
}

bool canBeAdministered(const std::vector<Account> &accounts)
{
    return std::any_of(accounts.begin(), accounts.end(), [](const Account &account) {
        return account.administers() && !account.locked;
    });
}

static bool contains(const std::vector<Account> &accounts, const std::string &name)
{
    return std::any_of(accounts.begin(), accounts.end(),
                       [&name](const Account &account) { return account.name == name; });
}

static std::string toAccount(const json &object, Account *account)
{
    account->name = object.value("name", "");
    account->hash = object.value("hash", "");
    account->locked = object.value("locked", false);
    // Lists of users part them with blanks, and a colon ends the name in front of a password.
    if (account->name.empty() || account->name.find_first_of(" :") != std::string::npos)
        return R"("name" must not be empty nor have blanks and colons)";
    if (!isHash(account->hash))
        return R"("hash" must be of yescrypt, at no more than its default cost)";
    for (const json &name : object.at("roles")) {
        if (!name.is_string())
            return R"("roles" must be names of roles)";
        const Role *role = findRole(name.get_ref<const std::string &>());
        if (role == nullptr)
            return "there is no role " + quoted(name);
        account->roles.push_back(role);
    }
    return {};
}

int readAccounts(const std::string &path, std::vector<Account> *accounts)
{
    const auto take = [accounts](const json &object) {
        Account account;
        std::string wrong = toAccount(object, &account);
        if (wrong.empty() && contains(*accounts, account.name))
            wrong = "user " + account.name + " is there twice";
        accounts->push_back(account);
        return wrong;
    };
    if (readObjects(path, accountFields(), take) != 0)
        return -1;
    return canBeAdministered(*accounts) ? 0 : refuseFile(path, "no administrator who can log in");
}

int writeAccounts(const std::string &path, const std::vector<Account> &accounts)
{
    std::string text;
    for (const Account &account : accounts) {
        nlohmann::ordered_json object;
        object["name"] = account.name;
        object["hash"] = account.hash;
        object["roles"] = json::array();
        for (const Role *role : account.roles)
            object["roles"].push_back(role->name);
        object["locked"] = account.locked;
        text += (text.empty() ? "[\n  " : ",\n  ") + object.dump();
    }
    return replaceFile(path, text + "\n]\n", FILE_MODE);
}
