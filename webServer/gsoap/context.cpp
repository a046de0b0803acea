// gsoap/context.cpp: sets the one gSOAP context up, cleans it between requests, and releases it.
#include "gsoap/context.h"

#include <malloc.h>
#include <soapH.h>
#include <sys/socket.h>
#include <type_traits>

#include "base/units.h"
#include "gsoap/limits.h"
#include "gsoap/out_of_memory.h"

// Strings pass through unchanged, as UTF-8. Without SOAP_IO_KEEPALIVE each connection carries one
// request.
static constexpr soap_mode CONTEXT_MODE = SOAP_C_UTFSTRING;
// In any other mode gSOAP damages texts that are not Latin-1. If an update of gSOAP changes the number,
// test such texts before you change it here.
static_assert(CONTEXT_MODE == 0x2000000, "the mode that passes UTF-8 through");

// A host's gate may be C. gSOAP declares the same members for both languages, and a struct of standard layout
// then has them at the same places.
static_assert(
    std::is_standard_layout_v<struct soap> && std::is_standard_layout_v<struct soap_cookie>);

static constexpr int ACCEPT_TIMEOUT_SECONDS = 0; // no limit: the service waits for clients
// Not 0: gSOAP would then make every accepted socket blocking. STALL_MS drops the clients that stall.
static constexpr int STALL_TIMEOUT_SECONDS = 60;
static constexpr int MAX_KEEP_ALIVE = 100; // has no effect: keep-alive is never on
static constexpr int MAX_COOKIES = 256;    // browsers send the cookies of all ports of an address

// What gSOAP keeps of a shorter request until the next one is a few times as large at most.
static constexpr std::size_t SHORT_REQUEST_BYTES = 64 * KIB;

// The memory that a shorter request has used is not worth giving back to the system.
static constexpr std::size_t LONG_REQUEST_BYTES = MIB;

void initContext(struct soap *soap)
{
    soap_init2(soap, CONTEXT_MODE, CONTEXT_MODE);
    lendFault(soap);
}

void configureContext(struct soap *soap)
{
    soap->cookie_domain = "";
    soap->cookie_path = "";
    soap->cookie_max = MAX_COOKIES;
    soap->accept_timeout = ACCEPT_TIMEOUT_SECONDS;
    soap->send_timeout = STALL_TIMEOUT_SECONDS;
    soap->recv_timeout = STALL_TIMEOUT_SECONDS;
    soap->max_keep_alive = MAX_KEEP_ALIVE;
    soap->bind_flags = SO_REUSEADDR;
    soap->recv_maxlength = maxRequestBytes(); // gSOAP's 2 GB would use up the unit's memory
    // gSOAP adds two headers by default. The first would let every page in the world call the unit
    // from a browser; the second would keep the unit's pages out of a control room's frames.
    soap->cors_allow = nullptr;
    soap->x_frame_options = nullptr;
}

// Does what soap_end does, with less work. soap_end also frees attributes, namespaces and references, for
// which it walks two tables of together 48 KB. soap_begin_recv walks them again before it reads the next
// request, so what a short request has left there can wait for it. The blocks of a reply that could not be
// sent may be many, and cannot wait.
static void endRequest(struct soap *soap)
{
    if (requestBytes() > SHORT_REQUEST_BYTES || soap->blist != nullptr) {
        soap_end(soap);
    } else {
        soap_dealloc(soap, nullptr);
        soap_closesock(soap);
    }
}

// The next request may be another client's, so nothing of this one may reach it. gSOAP keeps what is
// reset below: a pointer into the request's memory would dangle. docs/gsoap.md lists what gSOAP resets
// by itself.
void forgetRequest(struct soap *soap)
{
    noteLackOfMemory(soap);
    soap_destroy(soap); // first, because soap_end would forget what it has to delete
    endRequest(soap);
    lendFault(soap);
    soap_free_cookies(soap);
    soap->path[0] = '\0';
    soap->user = nullptr;
    soap->origin = nullptr;
    soap->omode = CONTEXT_MODE; // sending a file changes it
    if (lackedMemory() || requestBytes() > LONG_REQUEST_BYTES)
        malloc_trim(0);
}

void releaseContext(struct soap *soap)
{
    soap_destroy(soap);
    soap_end(soap);
    soap_done(soap);
}

// After a failed bind or accept the text is in the fault. Older versions of gSOAP put it into msgbuf, which
// now stays empty.
const char *failureText(struct soap *soap)
{
    const char *text = *soap_faultstring(soap);
    return text == nullptr ? "" : text;
}
