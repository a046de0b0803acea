// core/host_settings.cpp: storage for the globals that only the host writes.
#include "webServer.h"

int g_csEnabled = 0;
int g_highLevel = 200;
int g_lowLevel = 0;
int sessTimeOut = 900;

int g_wsWritePriv = 0;
int g_wsObject = 0;
int g_wsLogObj = 0;
int g_wsSecLogObj = 0;
int g_wsSecRbacObj = 0;
int g_wsSecRbacRAct = 0;
int g_wsSecRbacWAct = 0;
