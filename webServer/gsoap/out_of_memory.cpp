// gsoap/out_of_memory.cpp: keeps gSOAP alive when an allocation fails.
#include "gsoap/out_of_memory.h"

#include <soapH.h>

// All that a fault can consist of. Service thread only.
static struct {
    SOAP_ENV__Fault fault;
    SOAP_ENV__Code code;
    SOAP_ENV__Reason reason;
    SOAP_ENV__Detail detail;
} own;

static constexpr char LANGUAGE[] = "en"; // gSOAP's own default

static bool lacking = false;

// The form plug-in's callback, which the first one below calls.
static int (*prepareToReceive)(struct soap *);

extern "C" {

// The fprepareinitrecv callback. gSOAP has just forgotten the fault.
static int prepareRequest(struct soap *soap)
{
    lendFault(soap);
    return prepareToReceive == nullptr ? SOAP_OK : prepareToReceive(soap);
}

// The fprepareinitsend callback.
static int prepareReply(struct soap *soap)
{
    // After a failed allocation gSOAP has no look-aside buffer, but keeps the size of the one that it
    // wanted, and would copy the next text to address 0.
    if (soap->labbuf == nullptr)
        soap->lablen = soap->labidx = 0;
    // The one attribute of a reply is the language of a SOAP 1.2 fault. gSOAP allocates it where it counts
    // the bytes of the reply and ignores a failure, so the reply would be longer than announced.
    const bool fault12 =
        soap->version == 2 && soap->fault != nullptr && soap->fault->SOAP_ENV__Reason != nullptr;
    if (fault12 && soap_set_attr(soap, "xml:lang", LANGUAGE, 1) != SOAP_OK)
        soap->lang = nullptr;
    soap_clr_attr(soap); // it is set again where it belongs
    return SOAP_OK;
}

// Replaces gSOAP's, for the generated code. gSOAP calls this with the code of a fault: once to count its
// bytes, and again to send them. Its own function allocates each time, so that a reply without memory
// announced more bytes than it had, or fewer. The codes need no translation of their prefix.
const char *soap_QName2s(struct soap *, const char *name)
{
    return name;
}

} // extern "C"

void lendFault(struct soap *soap)
{
    own = {};
    soap->fault = &own.fault;
    soap->lang = LANGUAGE;
}

void installMemoryChecks(struct soap *soap)
{
    prepareToReceive = soap->fprepareinitrecv;
    soap->fprepareinitrecv = prepareRequest;
    soap->fprepareinitsend = prepareReply;
}

void noteLackOfMemory(const struct soap *soap)
{
    lacking = lacking || soap->error == SOAP_EOM;
}

bool lackedMemory()
{
    const bool lacked = lacking;
    lacking = false;
    return lacked;
}

// The next two replace functions that soapcpp2 generates. The generated ones allocate the parts of a
// fault, and the callers write to the detail without asking whether it is there. A host's own context has
// no fault of ours, and its memory is the host's affair.
void soap_fault(struct soap *soap)
{
    if (soap->fault == nullptr)
        soap->fault = soap_new_SOAP_ENV__Fault(soap, -1);
    if (soap->fault == nullptr || soap->version != 2)
        return;
    const bool ours = soap->fault == &own.fault;
    if (soap->fault->SOAP_ENV__Code == nullptr)
        soap->fault->SOAP_ENV__Code = ours ? &own.code : soap_new_SOAP_ENV__Code(soap, -1);
    if (soap->fault->SOAP_ENV__Reason == nullptr)
        soap->fault->SOAP_ENV__Reason = ours ? &own.reason : soap_new_SOAP_ENV__Reason(soap, -1);
}

#pragma GCC visibility push(default) // the shared gSOAP library calls it by name

const char **soap_faultdetail(struct soap *soap)
{
    soap_fault(soap);
    if (soap->fault == nullptr)
        return nullptr;
    SOAP_ENV__Detail *&detail =
        soap->version == 2 ? soap->fault->SOAP_ENV__Detail : soap->fault->detail;
    if (detail == nullptr)
        detail = soap->fault == &own.fault ? &own.detail : soap_new_SOAP_ENV__Detail(soap, -1);
    return detail == nullptr ? nullptr : const_cast<const char **>(&detail->__any);
}

#pragma GCC visibility pop
