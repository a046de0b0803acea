// web/get_handler.h: answers a browser's GET.
#pragma once

struct soap;

// The callback of gSOAP's HTTP GET plug-in: 0 answered, -1 refused without sending anything.
extern "C" int http_get_handler(struct soap *soap);
