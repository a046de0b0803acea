// http/send_file.cpp: sends texts, files and folders as HTTP response bodies.
#include "http/send_file.h"

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <stdsoap2.h>

#include "http/open_file.h"
#include "webServer.h"

static const std::size_t CHUNK_BYTES = 1024;
static const std::size_t PATH_SIZE = 299;

// Adds a file to the response, which the runtime collects; stops at the first failure if asked to.
// Returns the number of chunks. The chunk is our own memory: the context's buffer is the runtime's.
static int sendChunks(struct soap *soap, FILE *file, bool stopOnFailure)
{
    char chunk[CHUNK_BYTES];
    int chunks = 0;
    for (std::size_t length; (length = fread(chunk, 1, sizeof chunk, file)) > 0; ++chunks)
        if (soap_send_raw(soap, chunk, length) != SOAP_OK && stopOnFailure)
            break;
    return chunks;
}

// Ends a response that was never started. The runtime would otherwise end the chunks of a request
// that came in chunks.
static int sendNothing(struct soap *soap)
{
    soap->mode &= ~static_cast<soap_mode>(SOAP_IO);
    return soap_end_send(soap);
}

int endReply(struct soap *soap)
{
    const int error = soap->error;
    if (error == SOAP_OK)
        return soap_end_send(soap);
    sendNothing(soap);
    return error;
}

int copy_file(struct soap *soap, const char *path, const char *contentType)
{
    const File file = openFile(path, FOR_READING);
    if (file == nullptr)
        return sendNothing(soap); // Deliberate: pages take "no answer" for "not there".
    if (soap_response(soap, SOAP_FILE) == SOAP_OK) {
        soap->http_content = contentType; // in time: the headers are written at the end
        sendChunks(soap, file.get(), true);
    }
    return endReply(soap);
}

int copy_folder(struct soap *soap, const char *directory, const char *nameFilter)
{
    DIR *folder = opendir(directory);
    if (folder == nullptr)
        return -1;
    int result = -1;
    while (const struct dirent *entry = readdir(folder)) {
        const char *name = entry->d_name;
        if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0
            || strstr(name, nameFilter) == nullptr)
            continue;
        char path[PATH_SIZE];
        snprintf(path, sizeof path, "%s/%s", directory, name);
        const File file = openFile(path, FOR_READING);
        if (file == nullptr)
            break;
        if (sendChunks(soap, file.get(), false) > 0)
            result = 0;
    }
    closedir(folder);
    return result;
}

int http_copy_folder(struct soap *soap, const char *directory, const char *nameFilter)
{
    soap->http_content = "text/plain";
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        copy_folder(soap, directory, nameFilter);
    return endReply(soap);
}

void sendText(struct soap *soap, const char *contentType, const char *text)
{
    soap->http_content = contentType;
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        soap_send(soap, text);
    endReply(soap);
}
