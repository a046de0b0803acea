// gsoap/limits.cpp: keeps a request within its limits where the runtime would go further.
#include "gsoap/limits.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <stdsoap2.h>

// The last resort: not all work of the runtime that grows faster than a request has its own limit.
static const double MAX_REQUEST_CPU_SECONDS = 2;
static const std::size_t PIECE_BYTES = 4096; // after which the limits are looked at again

// The runtime keeps the name of every attribute of a request, and compares each with all before it:
// half a megabyte of them would keep the one service thread busy for a minute.
static const int MAX_ATTRIBUTE_NAMES = 1000;

// The runtime counts the bytes of a request, but not those between its chunks.
static const std::size_t MAX_BYTES_WITH_CHUNKS = 2 * MAX_REQUEST_BYTES;
static const std::size_t LONG_REQUEST_BYTES = 0x100000; // 1 MiB

// Of the request being served. Service thread only.
static double begun;
static std::size_t received;
static bool textBegun;
static int (*parseHttp)(struct soap *);
static size_t (*receive)(struct soap *, char *, size_t);

static double threadSeconds()
{
    struct timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

extern "C" {

static int parseRequest(struct soap *soap)
{
    const int error = parseHttp(soap);
    // No attachments: the service has none, and the runtime keeps what it knows of a request's own
    // ones beyond the request and into replies that it does not write itself.
    soap->imode &= ~static_cast<soap_mode>(SOAP_ENC_DIME | SOAP_ENC_MIME | SOAP_ENC_MTOM);
    // Only a whole request line leaves a path. Otherwise the runtime would also take a response's
    // first line (as a client does, of any length), a form of an unknown method, and no HTTP at all.
    if (soap->path[0] == '\0' && (soap->status != 0 || error == SOAP_OK || error == SOAP_FORM)) {
        soap->status = 0;
        return soap->error = SOAP_EOF;
    }
    // A cookie that came twice counts as changed: the runtime would set it in the reply.
    for (struct soap_cookie *cookie = soap->cookies; cookie != nullptr; cookie = cookie->next)
        cookie->modified = 0;
    // With the status of a POST the runtime would not tell a client what is wrong with its envelope.
    if (error == SOAP_OK && soap->status == SOAP_POST && soap->body)
        soap->status = 0;
    return error;
}

// HTTP begins with a letter. Without it the runtime would take bare XML, MIME and DIME as requests.
// Notes whether anything but blanks has come.
static bool beginsAsHttp(const char *data, size_t size)
{
    const char *const end = data + size;
    while (data < end && isspace(static_cast<unsigned char>(*data)))
        ++data;
    textBegun = data < end;
    return !textBegun || isalpha(static_cast<unsigned char>(*data));
}

static bool hasTooManyAttributes(const struct soap *soap)
{
    int names = 0;
    for (const struct soap_attribute *next = soap->attributes; next != nullptr; next = next->next)
        ++names;
    return names > MAX_ATTRIBUTE_NAMES;
}

// Receives for the runtime, to which 0 says that the client has hung up.
static size_t receiveWithinLimits(struct soap *soap, char *to, size_t size)
{
    if (received > MAX_BYTES_WITH_CHUNKS || hasTooManyAttributes(soap)
        || threadSeconds() - begun > MAX_REQUEST_CPU_SECONDS)
        return 0;
    const size_t length = receive(soap, to, std::min(size, PIECE_BYTES));
    received += length;
    return textBegun || beginsAsHttp(to, length) ? length : 0;
}

} // extern "C"

void installRequestGuard(struct soap *soap)
{
    parseHttp = soap->fparse;
    soap->fparse = parseRequest;
    receive = soap->frecv;
    soap->frecv = receiveWithinLimits;
}

void startRequestGuard()
{
    begun = threadSeconds();
    received = 0;
    textBegun = false;
}

bool requestWasLong()
{
    return received > LONG_REQUEST_BYTES;
}
