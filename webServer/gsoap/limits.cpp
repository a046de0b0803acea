// gsoap/limits.cpp: refuses requests that gSOAP would accept or work on for too long, and ends replies that are
// too long or take too long.
#include "gsoap/limits.h"

#include <algorithm>
#include <cctype>
#include <ctime>
#include <stdsoap2.h>

#include "base/units.h"
#include "gsoap/request_headers.h"
#include "webServer.h"

static constexpr std::size_t LOOK_BYTES = 4096; // received or written between two checks

// gSOAP keeps every attribute name of a request and compares each new one with all before it. Half a
// megabyte of different names would keep the service thread busy for a minute.
static constexpr int MAX_ATTRIBUTE_NAMES = 1000;

// What has been received of the request that is being served, and written of its reply. Service thread only.
struct Progress {
    double cpuSecondsAtStart;   // at the second receive; 0 before it
    double cpuSecondsAtReceive; // at the last one
    std::size_t bytes;
    std::size_t written; // of a SOAP reply, counted and sent
    bool replying;       // the reply has been looked at
    bool sawText;        // something other than white space has come
    bool lastWasEmpty;   // the last attempt to receive gave nothing
};
static Progress progress;

// gSOAP's own callbacks, which the first two hooks below call.
static int (*parseHttp)(struct soap *);
static size_t (*receive)(struct soap *, char *, size_t);

static double threadCpuSeconds()
{
    struct timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

static bool hasTooManyAttributes(const struct soap *soap)
{
    int names = 0;
    for (const struct soap_attribute *next = soap->attributes; next != nullptr; next = next->next)
        ++names;
    return names > MAX_ATTRIBUTE_NAMES;
}

// Some gSOAP paths are super-linear in the size of a request and have no limit, so its processor time is
// limited as well, from the second receive on.
static bool isOverTime(double cpuSeconds)
{
    return cpuSeconds - progress.cpuSecondsAtStart > g_webCpuMs / 1000.0;
}

static bool isOverLimit(const struct soap *soap, double cpuSeconds)
{
    // gSOAP's recv_maxlength does not count the lines between chunks.
    return progress.bytes > maxReceivedBytes() || hasTooManyAttributes(soap)
           || isOverTime(cpuSeconds);
}

// Looks at the time that gSOAP has needed to receive the request and to write so much of its reply. What is
// between the last receive and the first look is nearly all the host's.
static bool isReplyOverTime()
{
    const double cpuSeconds = threadCpuSeconds();
    if (!progress.replying)
        progress.cpuSecondsAtStart += cpuSeconds - progress.cpuSecondsAtReceive;
    progress.replying = true;
    return isOverTime(cpuSeconds);
}

static const char *skipSpace(const char *text, const char *end)
{
    while (text < end && isspace(static_cast<unsigned char>(*text)) != 0)
        ++text;
    return text;
}

extern "C" {

// The fparse callback. Calls gSOAP's parser, then refuses what that accepts without a request line and
// clears what it leaves set.
static int parseRequest(struct soap *soap)
{
    const int error = parseHttp(soap);
    // No operation takes attachments. gSOAP would keep those of this request for the next one and would try
    // to send them with replies.
    soap->imode &= ~static_cast<soap_mode>(SOAP_ENC_DIME | SOAP_ENC_MIME);
    // gSOAP sets the path only for a whole request line with a method that it knows. Without one it
    // still goes on for the first line of a response, a form of an unknown method, and bare XML.
    if (soap->path[0] == '\0' && (soap->status != 0 || error == SOAP_OK || error == SOAP_FORM)) {
        soap->status = 0;
        return soap->error = SOAP_EOF;
    }
    // With the status of a POST, gSOAP would answer a malformed envelope with silence, not a fault.
    if (error == SOAP_OK && soap->status == SOAP_POST)
        soap->status = 0;
    return error;
}

// The frecv callback. Returns the number of bytes received. Returns 0, which gSOAP takes for the end of the
// request, once a limit is passed or when the first character cannot be HTTP.
static size_t receiveWithinLimits(struct soap *soap, char *to, size_t size)
{
    // A short request is received at once, and needs no look at the clock, which costs a system call.
    const double cpuSeconds = progress.bytes == 0 ? 0 : threadCpuSeconds();
    if (progress.cpuSecondsAtStart == 0)
        progress.cpuSecondsAtStart = cpuSeconds;
    progress.cpuSecondsAtReceive = cpuSeconds;
    const std::size_t length =
        isOverLimit(soap, cpuSeconds) ? 0 : receive(soap, to, std::min(size, LOOK_BYTES));
    progress.bytes += length;
    progress.lastWasEmpty = length == 0;
    if (progress.sawText)
        return length;
    const char *const text = skipSpace(to, to + length);
    progress.sawText = text < to + length;
    // HTTP begins with a letter; gSOAP would also serve bare XML, MIME and DIME.
    return progress.sawText && isalpha(static_cast<unsigned char>(*text)) == 0 ? 0 : length;
}

// The ffiltersend callback. gSOAP calls it with each piece of a SOAP reply twice: when it counts the bytes,
// and when it sends them. It sets the error to what is returned. Files are not counted, and have no limit of
// time, because the client has not made them.
static int writeWithinLimits(struct soap *soap, const char **, size_t *size)
{
    const bool counts = (soap->mode & SOAP_IO_LENGTH) != 0;
    // gSOAP writes a control character of the echoed header as five bytes, so a reply could be five times as
    // long as its request. It is held in memory while its client takes it.
    if (counts && soap->count + *size > maxReceivedBytes())
        return SOAP_LENGTH; // gSOAP answers with a fault, without the header
    if (!counts && soap->status == SOAP_FILE)
        return soap->error; // a block may have failed before
    const std::size_t looks = progress.written / LOOK_BYTES;
    progress.written += *size;
    // A short reply needs no look at the clock.
    return progress.written / LOOK_BYTES > looks && isReplyOverTime() ? SOAP_EOF : SOAP_OK;
}

} // extern "C"

void installLimits(struct soap *soap)
{
    parseHttp = soap->fparse;
    soap->fparse = parseRequest;
    receive = soap->frecv;
    soap->frecv = receiveWithinLimits;
    soap->ffiltersend = writeWithinLimits;
}

void startRequest()
{
    progress = {};
    forgetAnnouncements();
}

std::size_t requestBytes()
{
    return progress.bytes;
}

bool receivedNothing()
{
    return progress.lastWasEmpty;
}
