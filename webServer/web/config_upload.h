// web/config_upload.h: the command that writes an uploaded configuration file.
#pragma once

struct soap;

// body is the form with a "?" in front, or null; it is taken apart where it stands. Returns what
// calcPostCgi returns.
int uploadConfiguration(struct soap *soap, char *body);
