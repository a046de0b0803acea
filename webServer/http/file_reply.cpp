// http/file_reply.cpp: a reply whose body is files, which the kernel sends without a copy in memory.
#include "http/file_reply.h"

#include <stdsoap2.h>
#include <sys/stat.h>
#include <unistd.h>

#include "gsoap/reply.h"
#include "gsoap/transport.h"
#include "net/connections.h"
#include "net/limits.h"

FileReply::~FileReply()
{
    while (count_ > 0)
        close(parts_[--count_].descriptor);
}

bool FileReply::isPossible(const struct soap *soap)
{
    return servesConnection(soap) && (soap->omode & SOAP_IO) != SOAP_IO_CHUNK
           && filesLeaving() < MAX_FILES_LEAVING;
}

bool FileReply::add(int descriptor)
{
    struct stat status;
    const bool known = count_ < MAX_FILES && fstat(descriptor, &status) == 0;
    const uint64_t length =
        known && S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
    if (length > 0)
        parts_[count_++] = {descriptor, 0, length};
    else
        close(descriptor);
    length_ += length;
    return known;
}

int FileReply::send(struct soap *soap, const char *contentType)
{
    // The files wait until the header has left. Without memory for their list nothing is sent.
    if (count_ > 0 && !sendFiles(parts_, count_)) {
        soap->error = SOAP_EOM;
        return endReply(soap);
    }
    count_ = 0;
    sendFileHeader(soap, contentType, length_);
    return soap->error;
}
