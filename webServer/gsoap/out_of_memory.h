// gsoap/out_of_memory.h: keeps gSOAP alive when an allocation fails.
#pragma once

struct soap;

// Gives the context the library's own fault, empty: gSOAP writes a fault without asking whether it got
// the memory for one. Call it after soap_init2, soap_begin_recv and soap_end have set the pointer to null.
void lendFault(struct soap *soap);

// Puts checks of the context's memory before each request and reply. Call it once, after the plug-ins are
// registered: the form plug-in does not call the callback that it replaces.
void installMemoryChecks(struct soap *soap);

// Notes the context's error if it is a lack of memory. Call it before the error is forgotten.
void noteLackOfMemory(const struct soap *soap);

// Returns true when a lack of memory was noted since the last call.
bool lackedMemory();
