// session/gate.cpp: asks the host whether the caller of a request may act.
#include "session/gate.h"

#include "base/thread_shared.h"
#include "webServer.h"

int askGate(struct soap *soap, int level)
{
    // The start installs the default gate after it has started the service thread, so a request can
    // arrive in between.
    const auto gate = readShared(pgf_parseAuth);
    return gate == nullptr ? WS_NOT_AUTHENTICATED : gate(soap, level);
}
