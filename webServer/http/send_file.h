// http/send_file.h: sends texts, files and folders as HTTP response bodies.
#pragma once

struct soap;

extern "C" {

// Sends a file with status 200: the result of soap_end_send, or the context's error. A file that
// cannot be opened is answered with nothing at all.
int copy_file(struct soap *soap, const char *path, const char *contentType);

// Sends the contents of all entries whose name contains nameFilter, in the folder's own order, into
// a response that has been started: 0 when anything was sent, else -1.
int copy_folder(struct soap *soap, const char *directory, const char *nameFilter);
}

// Ends a reply that soap_response has started: the result of soap_end_send, or, when it could not be
// started or collected, the context's error; nothing of it is sent then.
int endReply(struct soap *soap);

// Sends a text with status 200.
void sendText(struct soap *soap, const char *contentType, const char *text);
