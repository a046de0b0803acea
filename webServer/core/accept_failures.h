// core/accept_failures.h: logs connections that could not be accepted.
#pragma once

struct soap;

// Starts without a shortage. Call it when the service opens.
void forgetAcceptFailures();

// Logs the failure that the context describes. A lack of descriptors or memory, which makes every
// attempt fail while it lasts, is logged once.
void reportAcceptFailure(struct soap *soap);

// Logs the end of such a shortage, once a connection has been accepted again.
void reportAccepted();
