/* main.c: a host with users, passwords and sessions, to copy from.
 *
 *   secure_host PORT USERS WEB_ROOT     serves on the loopback address until SIGINT or SIGTERM
 *
 * USERS is the file of the users. The first start makes it, with the user admin, and prints the password.
 * A client may write into /mnt/flash: on a PC, start the host by scripts/private_mnt, which gives it a
 * /mnt that nobody else sees. */
#define _GNU_SOURCE
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <webServer.h>

#include "hooks.h"
#include "users.h"

int main(int argc, char **argv)
{
    sigset_t stop;
    int received;

    if (argc != 4) {
        fprintf(stderr, "usage: secure_host PORT USERS WEB_ROOT\n");
        return 2;
    }
    setenv("SERVER_PORT", argv[1], 1);
    setenv("WEB_DIR", argv[3], 1);
    setenv("WEB_STRICT", "Y", 1); /* close the doors that units in the field leave open */

    /* Block the signals before the start, so that the service thread, which inherits the mask, does
     * not take them. */
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, NULL);

    /* Everything that the service thread uses is ready before the start. */
    if (openUsers(argv[2]) != 0)
        return EXIT_FAILURE;
    installSecurity();
    if (webServer_Web_Start() == -1)
        return EXIT_FAILURE;

    /* Wait for the bind: a service that has not bound its port yet must not be closed. If the bind
     * fails, this loop ends in reboot(). */
    while (__atomic_load_n(&g_wsRunningSocket, __ATOMIC_ACQUIRE) != 1)
        usleep(5000);
    sigwait(&stop, &received);
    if (ws_soap_close() == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "secure_host: left while a request was still being served\n");
    _exit(EXIT_FAILURE); /* exit() would clean up what the service thread uses */
}
