// http/verb.cpp: getHTTPVerb(), which hosts use and the library does not.
#include <cstring>
#include <stdsoap2.h>

#include "webServer.h"

int getHTTPVerb(struct soap *soap)
{
    if (strncmp(soap->msgbuf, "GET ", 4) == 0)
        return 0;
    if (strncmp(soap->msgbuf, "POST ", 5) == 0)
        return 1;
    return soap->status == SOAP_GET ? 0 : soap->status == SOAP_POST ? 1 : -1;
}
