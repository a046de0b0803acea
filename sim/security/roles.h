// sim/security/roles.h: the roles that a user can have, and what each of them allows.
#ifndef SIM_SECURITY_ROLES_H
#define SIM_SECURITY_ROLES_H

#include <string>
#include <string_view>
#include <vector>

struct Role {
    const char *name;
    int level; // as the library asks the gate for
    bool administers;
};

static const int ROLE_COUNT = 4;
extern const Role ROLES[ROLE_COUNT];

const Role *findRole(std::string_view name); // null: none

// Names parted by blanks or commas; each counts once. False: one is none.
bool readRoles(std::string names, std::vector<const Role *> *roles);

#endif
