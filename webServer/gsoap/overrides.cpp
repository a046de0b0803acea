// gsoap/overrides.cpp: replaces two functions that soapcpp2 generates. Of a request's envelope, ours
// read the header, the fields of the operation and what these refer to, and nothing else.
#include <soapH.h>

// Returns gSOAP's record of the id when a field that was read before refers to this element, and nothing
// has been read for it yet. Returns null otherwise, and for an element that is nil or itself a reference.
static struct soap_ilist *awaitedElement(struct soap *soap)
{
    if (*soap->id == '\0' || *soap->href != '\0' || soap->null)
        return nullptr;
    struct soap_ilist *const record = soap_lookup(soap, soap->id);
    return record != nullptr && record->link != nullptr ? record : nullptr;
}

// Reads a text for the fields that refer to it. gSOAP does not record the id of an element without an end
// tag (<x id="1"/>), so this does.
static char *readText(struct soap *soap, const char *tag)
{
    const bool closed = !soap->body;
    char **const text = soap_in_string(soap, tag, nullptr, "xsd:string");
    if (text != nullptr && closed)
        soap_id_enter(soap, soap->id, *text, SOAP_TYPE_string, sizeof(char *), nullptr, nullptr,
                      nullptr, nullptr);
    return text == nullptr ? nullptr : *text;
}

// Makes sure that an operation does not run with a value that could not be read. Some callers forget
// the error and skip the element. So the record loses its pointer, and gSOAP fails when it resolves the
// reference; and what has been read of the element is not skipped a second time.
static void keepUnresolved(struct soap *soap, struct soap_ilist *record)
{
    record->ptr = nullptr;
    if (!soap->peeked)
        soap->body = 0;
}

#pragma GCC visibility push(default) // the shared gSOAP library calls them by name

// Reads the header, if there is one. gSOAP calls this after it has opened the envelope, but also in two
// cases that must be refused: when no element is open, where it would serve an operation without an
// envelope, and in an Envelope of no namespace, whose SOAP version it would take from an encodingStyle.
int soap_getheader(struct soap *soap)
{
    if (soap->level == 0 || soap_match_tag(soap, soap->tag, "SOAP-ENV:Envelope") != SOAP_OK)
        return soap->error = SOAP_VERSIONMISMATCH;
    soap->part = SOAP_IN_HEADER;
    soap->header = soap_in_SOAP_ENV__Header(soap, "SOAP-ENV:Header", soap->header, nullptr);
    soap->part = SOAP_END_HEADER;
    return soap->header == nullptr;
}

// Reads the element when a field waits for it. Else sets SOAP_TAG_MISMATCH and returns null, and the
// caller skips the element. gSOAP calls this for elements after the operation, and for unknown elements
// with an id. The generated function would build each one, however deep, in case a field refers to it:
// that overruns the thread's stack, and n references take n^3 steps to resolve. This one builds only texts
// and numbers, which hold no other elements, and at most one for each field of an operation.
extern "C" void *soap_getelement(struct soap *soap, const char *tag, int *)
{
    if (soap_peek_element(soap) != SOAP_OK)
        return nullptr;
    struct soap_ilist *const awaited = awaitedElement(soap);
    void *value = nullptr;
    if (awaited != nullptr && awaited->type == SOAP_TYPE_int)
        value = soap_in_int(soap, tag, nullptr, "xsd:int");
    else if (awaited != nullptr && awaited->type == SOAP_TYPE_string)
        value = readText(soap, tag);
    else
        soap->error = SOAP_TAG_MISMATCH;
    if (value == nullptr && awaited != nullptr)
        keepUnresolved(soap, awaited);
    return value;
}

#pragma GCC visibility pop
