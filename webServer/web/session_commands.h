// web/session_commands.h: the commands of a browser's session: login, logout, keep-alive.
#pragma once

struct soap;

// body is the form with a "?" in front, or null. Results as of calcPostCgi.
int runSessionCommand(struct soap *soap, const char *body);
