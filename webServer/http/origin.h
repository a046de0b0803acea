// http/origin.h: does a page of another site send the request?
#pragma once

struct soap;

// Returns true when the request's Origin header names another host or port than its Host header. Programs
// send no Origin.
bool namesAnotherOrigin(const struct soap *soap);
