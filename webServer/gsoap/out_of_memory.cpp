// gsoap/out_of_memory.cpp: keeps gSOAP alive when an allocation fails.
#include "gsoap/out_of_memory.h"

#include <soapH.h>

// All that a fault can consist of, in the library's own memory. Service thread only.
static struct {
    SOAP_ENV__Fault fault;
    SOAP_ENV__Code code;
    SOAP_ENV__Reason reason;
    SOAP_ENV__Detail detail;
} lent;

static constexpr char LANGUAGE[] = "en"; // gSOAP's own default

static bool lacking = false;

// The form plug-in's callback, which the first one below calls.
static int (*prepareToReceive)(struct soap *);

extern "C" {

// The fprepareinitrecv callback. gSOAP has just set the context's fault to null.
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
    soap_clr_attr(soap); // gSOAP sets it again where it writes the reason
    return SOAP_OK;
}

// Replaces gSOAP's function for the generated code, which calls it with the code of a fault: once to
// count its bytes, and again to send them. gSOAP's own allocates each time, so without memory a reply
// would announce more bytes than it has, or fewer. The codes need no translation of their prefix.
const char *soap_QName2s(struct soap *, const char *name)
{
    return name;
}

} // extern "C"

void lendFault(struct soap *soap)
{
    lent = {};
    soap->fault = &lent.fault;
    soap->lang = LANGUAGE;
}

void installMemoryChecks(struct soap *soap)
{
    lacking = false; // of an earlier service
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
// fault, and their callers write to the detail without asking whether it is there. A context of the host
// has no lent fault: there, these two allocate as the generated ones do.
void soap_fault(struct soap *soap)
{
    if (soap->fault == nullptr)
        soap->fault = soap_new_SOAP_ENV__Fault(soap, -1);
    if (soap->fault == nullptr || soap->version != 2)
        return;
    const bool ours = soap->fault == &lent.fault;
    if (soap->fault->SOAP_ENV__Code == nullptr)
        soap->fault->SOAP_ENV__Code = ours ? &lent.code : soap_new_SOAP_ENV__Code(soap, -1);
    if (soap->fault->SOAP_ENV__Reason == nullptr)
        soap->fault->SOAP_ENV__Reason = ours ? &lent.reason : soap_new_SOAP_ENV__Reason(soap, -1);
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
        detail = soap->fault == &lent.fault ? &lent.detail : soap_new_SOAP_ENV__Detail(soap, -1);
    return detail == nullptr ? nullptr : const_cast<const char **>(&detail->__any);
}

#pragma GCC visibility pop
