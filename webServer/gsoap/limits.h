// gsoap/limits.h: refuses requests that gSOAP would accept or work on for too long, and ends replies that are too
// long or take too long.
#pragma once

#include <cstddef>

#include "net/limits.h"

struct soap;

// Puts the limits between gSOAP and its parser, receiver and writer. Call it once, after installTransport() and
// after the plug-ins are registered, because all of these replace what the limits must wrap.
void installLimits(struct soap *soap);

// Starts the count of bytes and processor time. Call it when a connection has been accepted.
void startRequest();

// Returns how many bytes gSOAP has received of the request.
std::size_t requestBytes();

// Returns true when the last attempt to receive gave nothing: the client has stopped sending, or the
// request has passed a limit.
bool receivedNothing();
