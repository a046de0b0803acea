// web/config_upload.h: the command that writes an uploaded configuration file.
#pragma once

struct soap;

// body is the form with a "?" in front, or null; it is changed. Results as of calcPostCgi.
int uploadConfiguration(struct soap *soap, char *body);

extern "C" {

// The fields' own splitters, which leave escapes alone: the next key up to "=", the next value up to
// "&". Null, as the cursor then is, at the end.
char *query_key2(struct soap *soap, char **cursor);
char *query_val2(struct soap *soap, char **cursor);
}
