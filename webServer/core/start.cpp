// core/start.cpp: the order of start-up, nothing else.
#include "core/config.h"
#include "core/hooks.h"
#include "webServer.h"

int http_main()
{
    // Deliberate: no service rather than one that finds no file, or that listens where nobody asked.
    if (readConfiguration() != 0)
        return -1;
    reportMissingWebRoot();
    const int result = spawnHttpThread();
    // Deliberate: after the thread has started, an order that hosts rely on. Until the default gate is
    // installed, every caller is refused.
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
