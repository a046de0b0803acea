/* users.h: who may use the unit: names, roles, locks and hashed passwords, kept in a file.
 *
 * The file has a line for each user: name, roles (the sum of VIEWER and so on), 1 if locked or 0, and
 * the hash of the password, as mkpasswd prints it. All functions run on the service thread once it runs. */
#ifndef USERS_H
#define USERS_H

enum { MAX_USERS = 16, NAME_SIZE = 32, HASH_SIZE = 128, ROLES = 3 };
enum { VIEWER = 1, OPERATOR = 2, ADMIN = 4 };

struct Role {
    const char *name;
    unsigned int bit;
    int level; /* one of the levels that the library asks the gate for */
};
extern const struct Role roles[ROLES];

struct User {
    char name[NAME_SIZE];
    unsigned int roles;
    int locked; /* by an administrator */
    char hash[HASH_SIZE];
    int failures;     /* wrong passwords in a row; a restart forgets them */
    long lockedUntil; /* in seconds(), by wrong passwords */
};
extern struct User users[MAX_USERS];
extern int userCount; /* at least 1 once the file is read */

/* Reads the file. If there is none, makes the user admin and prints the new password on standard error.
 * Returns 0, or -1 after it has logged why not. */
int openUsers(const char *path);

/* Writes the file so that a power cut leaves the old one or the new one. Returns 0 or -1. */
int saveUsers(void);

/* Returns null for an unknown name. */
struct User *findUser(const char *name);

/* Returns the user; null for an unknown name, a wrong password and a locked user. It takes the same time
 * for all of them, and only the log says which it was. Five wrong passwords in a row lock for a minute. */
struct User *checkPassword(const char *name, const char *password);

/* Writes the hash of a password, with a new salt. Returns 0 or -1. */
int hashPassword(const char *password, char hash[HASH_SIZE]);

/* The highest level of the user's roles, or 0. */
int userLevel(const struct User *user);

/* 1 if the user is locked, by an administrator or by wrong passwords. */
int isLocked(const struct User *user);

/* Seconds of a clock that nobody sets. */
long seconds(void);

#endif
