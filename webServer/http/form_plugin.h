// http/form_plugin.h: hands form POSTs to a handler, and keeps each request's Accept header.
#pragma once

struct soap;
struct soap_plugin;

// The plug-in, for soap_register_plugin_arg; handler is an int (*)(struct soap *). Registers even when
// there is no memory for its record: forms are then parsed as SOAP, and answered with a fault.
extern "C" int http_form(struct soap *soap, struct soap_plugin *plugin, void *handler);

// Returns the request's Accept header, or null when it has none. The text belongs to the request.
const char *acceptHeader(struct soap *soap);
