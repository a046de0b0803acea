// soap/checks.h: the questions an operation asks before it touches the host, and its faults.
//
// A check records its fault in the context and returns true when the operation must stop, so an operation
// reads as one condition, in its own order of checks. operation is the name of the operation's function
// (__func__), which becomes the fault's detail.
#pragma once

#include <initializer_list>
#include <soapH.h>

// Records a receiver fault. Returns true.
bool refuse(struct soap *soap, const char *message, const char *detail);

// Returns true when one of these elements was not in the request. Records no fault.
bool anyAbsent(std::initializer_list<const void *> fields);

// Refuses when a required element is absent.
bool missing(struct soap *soap, const char *operation, std::initializer_list<const void *> fields);

// Refuses when the gate does not allow the caller to act at this level.
bool denied(struct soap *soap, const char *operation, int level);

// Refuse when a value breaks the database's rules.
bool invalidText(struct soap *soap, const char *operation, const char *field, const char *value);
bool invalidNumber(struct soap *soap, const char *operation, const char *field, int value);

// Records "WebServer Error: Invalid parameters". Returns true.
bool refuseParameters(struct soap *soap, const char *operation);
