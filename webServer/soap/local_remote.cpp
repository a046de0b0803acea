// soap/local_remote.cpp: the interlock that keeps the network's hands off a unit under local control.
#include "soap/local_remote.h"

#include <cstring>

#include "webServer.h"
#include "webServerHost.h"

int checkLocalRemote(const char *inputType)
{
    // Deliberate: the whole word, while the validators accept longer types that begin with it.
    if (strcmp(inputType, "command") != 0 && strcmp(inputType, "setPoint") != 0)
        return 0;

    // Deliberate: a question that fails lets the write through; 'U', unknown, does not.
    char answer[8] = "";
    if (fnPutS("coreDb", "", "getLR", "", answer, 1, 0) != 0)
        return 0;
    if (g_webRemote != 1)
        return 0;
    return answer[0] == 'L' || answer[0] == 'U' ? 1 : 0;
}
