// http/form_plugin.h: hands form POSTs to a handler, and keeps each request's Accept header.
#pragma once

struct soap;
struct soap_plugin;

// The plug-in, for soap_register_plugin_arg; handler is an int (*)(struct soap *). It registers even
// without memory for its record: forms are then parsed as SOAP.
extern "C" int http_form(struct soap *soap, struct soap_plugin *plugin, void *handler);

// The body of a form request with a "?" in front, which belongs to the request; then ends its
// receipt. Null when there is no body, when it is longer than MAX_REQUEST_BYTES or shorter than
// announced, or when reading it fails.
extern "C" char *form(struct soap *soap);

// The Accept header of this request; null when it has none.
const char *acceptHeader(struct soap *soap);
