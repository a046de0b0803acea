// web/get_handler.h: answers a browser's GET.
#pragma once

struct soap;

// The callback of gSOAP's HTTP GET plug-in. Returns 0 when the request is dealt with, -1 when it is
// refused without a reply, otherwise a gSOAP error.
extern "C" int http_get_handler(struct soap *soap);
