// http/send_file.h: sends texts, files and folders as HTTP response bodies.
#pragma once

struct soap;

extern "C" {

// Sends a file with status 200. Sends nothing at all when the file cannot be opened. Returns SOAP_OK or a
// gSOAP error.
int copy_file(struct soap *soap, const char *path, const char *contentType);

// Sends the contents of all entries whose name contains nameFilter, in the folder's own order, as part
// of a response that has been started. Returns 0 when it sent anything, else -1.
int copy_folder(struct soap *soap, const char *directory, const char *nameFilter);
}

// Sends the contents of a folder's entries, chosen as copy_folder does, with status 200. Returns
// SOAP_OK or a gSOAP error.
int sendFolder(struct soap *soap, const char *contentType, const char *directory,
               const char *nameFilter);

// Sends a text with status 200.
void sendText(struct soap *soap, const char *contentType, const char *text);
