// web/session_commands.h: the commands of a browser's session: login, logout, keep-alive.
#pragma once

struct soap;

// body is the form with a "?" in front, or null; it is decoded where it stands. Returns what calcPostCgi
// returns.
int runSessionCommand(struct soap *soap, char *body);
