// core/accept_failures.h: logs connections that could not be accepted.
#pragma once

struct soap;

// Forgets a shortage that an earlier service has logged. Call it when the service opens.
void forgetAcceptFailures();

// Logs the failure that the context describes. A lack of descriptors or memory, which makes every
// attempt fail while it lasts, is logged when it begins.
void reportAcceptFailure(struct soap *soap);

// Logs the end of such a shortage, once a connection has been accepted again.
void reportAccepted();
