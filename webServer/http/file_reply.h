// http/file_reply.h: a reply whose body is files, which the kernel sends without a copy in memory.
#pragma once

#include "net/departure.h"

struct soap;

class FileReply {
    static constexpr int MAX_FILES = 8; // open in one reply; the host needs descriptors as well

    FilePart parts_[MAX_FILES];
    int count_ = 0;
    uint64_t length_ = 0;

public:
    FileReply() = default;
    ~FileReply(); // closes the files, unless send() has handed them over
    FileReply(const FileReply &) = delete;
    FileReply &operator=(const FileReply &) = delete;

    // Returns true when this context's replies can be sent so: it serves one of the service's own
    // connections, not in chunks, and few files wait for their clients.
    static bool isPossible(const struct soap *soap);

    // Takes over an open file or folder; a folder counts as empty. Closes it and returns false when it
    // cannot be examined or MAX_FILES are held.
    bool add(int descriptor);

    // Sends the files, with the lengths that they have now, and status 200. A file that cannot be read
    // to that length ends the connection, so that the client sees a reply that is cut short. Returns
    // SOAP_OK or a gSOAP error.
    int send(struct soap *soap, const char *contentType);
};
