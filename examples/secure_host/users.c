/* users.c: the table of users, its file, and passwords by the system's crypt (libxcrypt). */
#define _GNU_SOURCE
#include "users.h"

#include <crypt.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <webServer.h>
#include <webServerHost.h>

#include "random_text.h"

enum { MAX_FAILURES = 5, LOCK_SECONDS = 60, PATH_SIZE = 256, FIRST_PASSWORD_SIZE = 25 };

const struct Role roles[ROLES] = {
    {"VIEWER",   VIEWER,   WS_LEVEL_READ  },
    {"OPERATOR", OPERATOR, WS_LEVEL_WRITE },
    {"ADMIN",    ADMIN,    WS_LEVEL_REBOOT},
};

struct User users[MAX_USERS];
int userCount = 0;
static char file[PATH_SIZE];
static char newFile[PATH_SIZE + 4];

long seconds(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (long)now.tv_sec;
}

/* ---- Passwords ------------------------------------------------------------------------------- */

/* Returns 1 if the password belongs to the hash. */
static int matches(const char *password, const char *hash)
{
    static struct crypt_data work; /* too large for the service thread's stack */
    const char *result = crypt_r(password, hash, &work); /* a failure is a text that is no hash */
    const int equal = result != NULL && strcmp(result, hash) == 0;
    explicit_bzero(&work, sizeof work);
    return equal;
}

int hashPassword(const char *password, char hash[HASH_SIZE])
{
    static struct crypt_data work;
    char setting[CRYPT_GENSALT_OUTPUT_SIZE];
    const char *result;
    if (crypt_gensalt_rn("$y$", 0, NULL, 0, setting, sizeof setting) == NULL)
        return -1;
    result = crypt_r(password, setting, &work);
    if (result == NULL || result[0] == '*' || strlen(result) >= HASH_SIZE)
        return -1;
    snprintf(hash, HASH_SIZE, "%s", result);
    explicit_bzero(&work, sizeof work);
    return 0;
}

static void countFailure(struct User *user)
{
    sLogWarn("security: wrong password of %s", user->name);
    if (++user->failures < MAX_FAILURES)
        return;
    user->failures = 0;
    user->lockedUntil = seconds() + LOCK_SECONDS;
    sLogWarn("security: %s is locked for %d seconds", user->name, LOCK_SECONDS);
}

struct User *checkPassword(const char *name, const char *password)
{
    struct User *user = findUser(name);
    const int right = matches(password, user != NULL ? user->hash : users[0].hash);
    if (user == NULL)
        sLogWarn("security: unknown user");
    else if (isLocked(user))
        sLogWarn("security: %s is locked", user->name);
    else if (!right)
        countFailure(user);
    else {
        user->failures = 0;
        return user;
    }
    return NULL;
}

/* ---- Users ----------------------------------------------------------------------------------- */

struct User *findUser(const char *name)
{
    for (int i = 0; i < userCount; ++i)
        if (strcmp(users[i].name, name) == 0)
            return &users[i];
    return NULL;
}

int userLevel(const struct User *user)
{
    int level = 0;
    for (int i = 0; i < ROLES; ++i)
        if ((user->roles & roles[i].bit) != 0 && roles[i].level > level)
            level = roles[i].level;
    return level;
}

int isLocked(const struct User *user)
{
    return user->locked || seconds() < user->lockedUntil;
}

/* ---- The file -------------------------------------------------------------------------------- */

int saveUsers(void)
{
    int failed;
    FILE *out = fopen(newFile, "we");
    if (out == NULL)
        return -1;
    fchmod(fileno(out), S_IRUSR | S_IWUSR);
    for (int i = 0; i < userCount; ++i)
        fprintf(out, "%s %u %d %s\n", users[i].name, users[i].roles, users[i].locked,
                users[i].hash);
    failed = fflush(out) != 0 || fsync(fileno(out)) != 0;
    return fclose(out) != 0 || failed || rename(newFile, file) != 0 ? -1 : 0;
}

/* A password that everybody knows would be the first thing that an attacker tries. */
static int makeFirstUser(void)
{
    char password[FIRST_PASSWORD_SIZE];
    if (randomText(password, sizeof password) != 0)
        return -1;
    users[0] = (struct User){.name = "admin", .roles = ADMIN};
    userCount = 1;
    if (hashPassword(password, users[0].hash) != 0 || saveUsers() != 0)
        return -1;
    fprintf(stderr, "secure_host: made the user admin with the password %s\n", password);
    return 0;
}

static int readUsers(FILE *in)
{
    struct User user = {.name = ""};
    int fields = 0;
    for (userCount = 0; userCount < MAX_USERS; ++userCount) {
        fields = fscanf(in, "%31s %u %d %127s", user.name, &user.roles, &user.locked, user.hash);
        if (fields != 4)
            break;
        users[userCount] = user;
    }
    return userCount > 0 && fields == EOF ? 0 : -1;
}

int openUsers(const char *path)
{
    int result;
    FILE *in = fopen(path, "re");
    snprintf(file, sizeof file, "%s", path);
    snprintf(newFile, sizeof newFile, "%s.new", file);
    if (in != NULL) {
        result = readUsers(in);
        fclose(in);
    } else
        result = errno == ENOENT ? makeFirstUser() : -1;
    if (result != 0)
        sLogErr("security: cannot read or make the users in %s", path);
    return result;
}
