// gsoap/serve.cpp: serves a connection as the generated soap_serve does, with less work.
#include "gsoap/serve.h"

#include <soapH.h>

// Does what soap_begin_serve does, without its call of soap_begin. Of what that sets, soap_begin_recv sets
// the rest itself. It also frees what the request before has left, for which it walks two tables of 48 KB,
// and soap_begin would walk them once more.
static int beginServe(struct soap *soap)
{
    soap->encoding = 0;
    soap->encodingStyle = "";
    if (soap_begin_recv(soap) == SOAP_OK && soap_envelope_begin_in(soap) == SOAP_OK
        && soap_recv_header(soap) == SOAP_OK && soap_body_begin_in(soap) == SOAP_OK)
        return SOAP_OK;
    return soap->error < SOAP_STOP ? soap_send_fault(soap) : soap_closesock(soap);
}

int serveRequests(struct soap *soap)
{
    soap->keep_alive = soap->max_keep_alive + 1;
    do {
        if (soap->keep_alive > 0 && soap->max_keep_alive > 0)
            --soap->keep_alive;
        if (beginServe(soap) != SOAP_OK) {
            if (soap->error >= SOAP_STOP)
                continue;
            return soap->error;
        }
        const bool failed = soap_serve_request(soap) != SOAP_OK
                            || (soap->fserveloop != nullptr && soap->fserveloop(soap) != SOAP_OK);
        if (failed && soap->error != SOAP_OK && soap->error < SOAP_STOP)
            return soap_send_fault(soap);
    } while (soap->keep_alive != 0);
    return SOAP_OK;
}
