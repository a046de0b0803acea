// gsoap/reply.h: ends a reply, or sends none, or sends one that is only a header.
#pragma once

#include <cstdint>
#include <initializer_list>

struct soap;

// Ends a reply that soap_response has started. Returns the result of soap_end_send; when the reply
// could not be started or collected, sends nothing and returns the context's error.
int endReply(struct soap *soap);

// Ends a request without a reply. Returns the result of soap_end_send.
int sendNothing(struct soap *soap);

// Sends the header of a reply whose body of length bytes is sent apart from gSOAP. Returns
// SOAP_OK or a gSOAP error.
int sendFileHeader(struct soap *soap, const char *contentType, uint64_t length);

struct HeaderLine {
    const char *key, *value; // without a value the line is the key alone
};

// Sends these lines and the empty line after them, as a whole reply without a body.
void sendHeader(struct soap *soap, std::initializer_list<HeaderLine> lines);
