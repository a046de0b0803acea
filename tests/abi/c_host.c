/* tests/abi/c_host.c: a host in C. It only has to compile: the headers are C99, and what a host sets
 * and calls has the types that it expects. */
#include "webServer.h"
#include "webServerHost.h"

static int gate(struct soap *request, int level)
{
    return request != 0 && level <= WS_LEVEL_READ ? WS_ALLOWED : WS_NOT_AUTHENTICATED;
}

int startService(void);
int startService(void)
{
    char *banner = 0;
    g_csEnabled = 1;
    sessTimeOut = 60;
    pgf_parseAuth = gate;
    webServerShowVer(&banner);
    sLogInfo("%s on port %d", banner, g_serverPort);
    return webServer_Web_Start() == 0 ? ws_soap_close() : -1;
}
