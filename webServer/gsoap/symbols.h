// gsoap/symbols.h: the names that the shared gSOAP library looks up in this library. It calls generated
// code for header, faults and elements, so these names stay visible and no other generated ones do.
// Include this before gSOAP's headers: the first declaration sets the visibility.
#pragma once

struct soap;
struct Namespace;

void soap_fault(struct soap *) __attribute__((weak)); // out_of_memory.cpp replaces it

#pragma GCC visibility push(default)

const char **soap_faultcode(struct soap *);
const char **soap_faultsubcode(struct soap *);
const char **soap_faultstring(struct soap *);
const char **soap_faultdetail(struct soap *) __attribute__((weak)); // as above
const char *soap_fault_subcode(struct soap *);
const char *soap_fault_string(struct soap *);
const char *soap_fault_detail(struct soap *);
void soap_serializefault(struct soap *);
int soap_getfault(struct soap *);
int soap_putfault(struct soap *);
void soap_serializeheader(struct soap *);
int soap_getheader(struct soap *) __attribute__((weak)); // overrides.cpp replaces it
int soap_putheader(struct soap *);

extern "C" {
extern struct Namespace namespaces[];
void soap_markelement(struct soap *, const void *, int);
void *soap_getelement(struct soap *, const char *, int *) __attribute__((weak)); // as above
int soap_putelement(struct soap *, const void *, const char *, int, int);
void *soap_dupelement(struct soap *, const void *, int);
void soap_delelement(const void *, int);
}

#pragma GCC visibility pop
