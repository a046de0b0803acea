// soap/checks.h: the questions an operation asks before it touches the host, and its faults.
//
// A check records its fault in the context and answers true when the operation must stop, so that an
// operation reads as one condition in its own order of checks. operation is the name of the
// operation's function (__func__), which becomes the fault's detail.
#pragma once

#include <initializer_list>
#include <soapH.h>

// Records a receiver fault; always true.
bool refuse(struct soap *soap, const char *message, const char *detail);

// One of these elements was not in the request. Records no fault.
bool anyAbsent(std::initializer_list<const void *> fields);

// A required element is absent.
bool missing(struct soap *soap, const char *operation, std::initializer_list<const void *> fields);

// The gate does not allow the caller to act at this level.
bool denied(struct soap *soap, const char *operation, int level);

// A value that the database's rules do not accept.
bool invalidText(struct soap *soap, const char *operation, const char *field, const char *value);
bool invalidNumber(struct soap *soap, const char *operation, const char *field, int value);

// "WebServer Error: Invalid parameters"; always true.
bool refuseParameters(struct soap *soap, const char *operation);
