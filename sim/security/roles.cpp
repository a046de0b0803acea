// sim/security/roles.cpp: the table of roles.
#include "security/roles.h"

#include <algorithm>
#include <cstring>

#include "webServer.h"

static const char *const SEPARATORS = " ,";

const Role ROLES[ROLE_COUNT] = {
  // name         level            administers users
    {"VIEWER",   WS_LEVEL_READ,   false},
    {"OPERATOR", WS_LEVEL_WRITE,  false},
    {"ENGINEER", WS_LEVEL_REBOOT, false},
    {"ADMIN",    WS_LEVEL_REBOOT, true },
};

const Role *findRole(std::string_view name)
{
    for (const Role &role : ROLES)
        if (name == role.name)
            return &role;
    return nullptr;
}

bool readRoles(std::string names, std::vector<const Role *> *roles)
{
    roles->clear();
    char *rest = names.data();
    while (const char *name = strtok_r(rest, SEPARATORS, &rest)) {
        const Role *role = findRole(name);
        if (role == nullptr)
            return false;
        if (std::find(roles->begin(), roles->end(), role) == roles->end())
            roles->push_back(role);
    }
    return true;
}
