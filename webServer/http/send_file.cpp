// http/send_file.cpp: sends texts, files and folders as HTTP response bodies.
#include "http/send_file.h"

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <stdsoap2.h>

#include "gsoap/reply.h"
#include "http/open_file.h"
#include "webServer.h"

static constexpr std::size_t BLOCK_BYTES = 1024;
static constexpr std::size_t PATH_SIZE = 298 + 1;

// Adds a file to the response, which gSOAP collects. Stops at the first failure if asked to. Returns
// the number of blocks. The block is our own memory: the context's buffer holds the end of what gSOAP
// has collected so far.
static int sendBlocks(struct soap *soap, FILE *file, bool stopOnFailure)
{
    char block[BLOCK_BYTES];
    int blocks = 0;
    for (std::size_t length; (length = fread(block, 1, sizeof block, file)) > 0; ++blocks)
        if (soap_send_raw(soap, block, length) != SOAP_OK && stopOnFailure)
            break;
    return blocks;
}

int copy_file(struct soap *soap, const char *path, const char *contentType)
{
    const File file = openFile(path, FOR_READING);
    if (file == nullptr)
        return sendNothing(soap); // Deliberate: pages take "no answer" for "not there".
    if (soap_response(soap, SOAP_FILE) == SOAP_OK) {
        soap->http_content = contentType; // gSOAP writes the headers at the end
        sendBlocks(soap, file.get(), true);
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
        if (sendBlocks(soap, file.get(), false) > 0)
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
