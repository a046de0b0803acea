// soap/local_remote.cpp: the interlock that refuses commands from the network under local control.
#include "soap/local_remote.h"

#include <cstring>

#include "webServer.h"
#include "webServerHost.h"

int checkLocalRemote(const char *inputType)
{
    // Deliberate: compares the whole word, although the validators accept longer types that begin with it.
    if (strcmp(inputType, "command") != 0 && strcmp(inputType, "setPoint") != 0)
        return 0;

    // Deliberate: when the question fails, the write passes; the answer 'U', unknown, refuses it.
    char answer[8] = "";
    if (fnPutS("coreDb", "", "getLR", "", answer, 1, 0) != 0)
        return 0;
    if (g_webRemote != 1)
        return 0;
    return answer[0] == 'L' || answer[0] == 'U' ? 1 : 0;
}
