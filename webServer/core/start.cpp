// core/start.cpp: the order of the steps of a start.
#include "core/config.h"
#include "core/hooks.h"
#include "webServer.h"

int http_main()
{
    // Deliberate: without its configuration no service starts. It would find no file, and without an
    // address it would listen on every interface.
    if (readConfiguration() != 0)
        return -1;
    reportMissingWebRoot();
    const int result = spawnHttpThread();
    // Deliberate: after the thread has started, so that a host's log function that is called during the
    // start finds the hooks as the host set them. Until the default gate is installed, every caller is
    // refused.
    installDefaultHooks();
    return result;
}

int webServer_Web_Start()
{
    return http_main();
}

int httpd()
{
    return http_main();
}
