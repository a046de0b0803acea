// http/send_file.cpp: sends texts, files and folders as HTTP response bodies.
#include "http/send_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <stdsoap2.h>

#include "gsoap/reply.h"
#include "http/file_reply.h"
#include "http/open_file.h"
#include "net/connections.h"
#include "webServer.h"

static constexpr std::size_t BLOCK_BYTES = 1024;
static constexpr std::size_t PATH_SIZE = 298 + 1;

// ---- Bodies that gSOAP collects in memory: for contexts of hosts, and for replies in chunks ----

// Adds a file to the response. Stops at the first failure of gSOAP if asked to. Returns the number of
// blocks. When the file cannot be read to its end, fails the response, so that nothing of it is sent. The
// block is our own memory: the context's buffer holds the end of what gSOAP has collected so far.
static int sendBlocks(struct soap *soap, FILE *file, bool stopOnFailure)
{
    char block[BLOCK_BYTES];
    int blocks = 0;
    for (std::size_t length; (length = fread(block, 1, sizeof block, file)) > 0; ++blocks)
        if (soap_send_raw(soap, block, length) != SOAP_OK && stopOnFailure)
            break;
    if (ferror(file) != 0 && errno != EISDIR) // a folder counts as an empty file
        soap->error = SOAP_EOF;
    return blocks;
}

static int collectFile(struct soap *soap, const char *path, const char *contentType)
{
    const File file = openFile(path, FOR_READING);
    if (file == nullptr)
        return sendNothing(soap);
    if (soap_response(soap, SOAP_FILE) == SOAP_OK) {
        soap->http_content = contentType; // gSOAP writes the headers at the end
        sendBlocks(soap, file.get(), true);
    }
    return endReply(soap);
}

// ---- Folders -----------------------------------------------------------------------------------

// Fails the response when the last call failed for want of memory or descriptors, could not read the device,
// or was interrupted: what is there must not look as if it were missing.
static void failWithoutAnswer(struct soap *soap)
{
    if (isShortage(errno))
        soap->error = SOAP_EOM;
    else if (errno == EIO || errno == EINTR)
        soap->error = SOAP_EOF;
}

// Calls use(path) for every entry whose name contains nameFilter, until it returns false. errno is 0 before
// each call.
template <typename Use>
static void forEachEntry(struct soap *soap, const char *directory, const char *nameFilter, Use use)
{
    DIR *folder = opendir(directory);
    if (folder == nullptr)
        return failWithoutAnswer(soap);
    const auto nextEntry = [&]() -> const struct dirent *
    {
        errno = 0;
        return readdir(folder);
    };
    const struct dirent *entry;
    while ((entry = nextEntry()) != nullptr) {
        const char *name = entry->d_name;
        if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0
            || strstr(name, nameFilter) == nullptr)
            continue;
        char path[PATH_SIZE];
        snprintf(path, sizeof path, "%s/%s", directory, name);
        if (!use(path))
            break;
    }
    failWithoutAnswer(soap);
    closedir(folder);
}

int copy_folder(struct soap *soap, const char *directory, const char *nameFilter)
{
    int result = -1;
    forEachEntry(soap, directory, nameFilter, [&](const char *path) {
        const File file = openFile(path, FOR_READING);
        if (file != nullptr && sendBlocks(soap, file.get(), false) > 0)
            result = 0;
        return file != nullptr; // Deliberate: a file that cannot be opened ends the listing.
    });
    return result;
}

// Sends a folder's files without a copy in memory, or fails with the context's error. Returns false, and
// sends nothing, when they are too many for that.
static bool sendFolderFiles(struct soap *soap, const char *contentType, const char *directory,
                            const char *nameFilter)
{
    FileReply reply;
    bool fits = true;
    forEachEntry(soap, directory, nameFilter, [&](const char *path) {
        const int descriptor = openDescriptor(path);
        fits = descriptor == -1 || reply.add(descriptor);
        return descriptor != -1 && fits;
    });
    if (soap->error != SOAP_OK)
        endReply(soap);
    else if (fits)
        reply.send(soap, contentType);
    return fits;
}

static int collectFolder(struct soap *soap, const char *contentType, const char *directory,
                         const char *nameFilter)
{
    soap->http_content = contentType;
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        copy_folder(soap, directory, nameFilter);
    return endReply(soap);
}

// ---- Whole replies -----------------------------------------------------------------------------

int copy_file(struct soap *soap, const char *path, const char *contentType)
{
    if (!FileReply::isPossible(soap))
        return collectFile(soap, path, contentType);
    FileReply reply;
    const int descriptor = openDescriptor(path);
    // Deliberate: pages take "no reply" for "not there".
    return descriptor != -1 && reply.add(descriptor) ? reply.send(soap, contentType)
                                                     : sendNothing(soap);
}

int sendFolder(struct soap *soap, const char *contentType, const char *directory,
               const char *nameFilter)
{
    if (FileReply::isPossible(soap) && sendFolderFiles(soap, contentType, directory, nameFilter))
        return soap->error;
    return collectFolder(soap, contentType, directory, nameFilter);
}

// Collects also on the service's own connections: a host that calls this may send more afterwards.
int http_copy_folder(struct soap *soap, const char *directory, const char *nameFilter)
{
    return collectFolder(soap, "text/plain", directory, nameFilter);
}

void sendText(struct soap *soap, const char *contentType, const char *text)
{
    soap->http_content = contentType;
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        soap_send(soap, text);
    endReply(soap);
}
