// gsoap/body.h: reads a form's body whole, or not at all.
#pragma once

struct soap;

// Reads the request's body with a "?" in front. The text belongs to the request.
// Returns null when there is no body, when it is longer than maxRequestBytes() or shorter than
// announced, and when reading it fails. Leaves soap->error at SOAP_OK.
extern "C" char *form(struct soap *soap);
