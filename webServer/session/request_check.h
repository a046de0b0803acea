// session/request_check.h: does a request belong to a valid session?
#pragma once

struct soap;

// 0 when it does, else -1. A refusal has been sent to the browser, unless the request has no session
// cookie, or an empty one. refresh 1 (and only 1) records the time as the session's last activity; a
// non-zero checkTimeout tests its inactivity. slotOut, when not null, receives the slot or -1 as soon
// as the id has been looked up.
extern "C" int httpCheckUser(struct soap *soap, short refresh, short checkTimeout, int *slotOut);
