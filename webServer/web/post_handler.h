// web/post_handler.h: answers a browser's form POST.
#pragma once

struct soap;

extern "C" {

// The callback of the form plug-in. Returns what calcPostCgi returns.
int http_post_handler(struct soap *soap);

// Runs the command of a form. Returns 0 when it was handled, with or without a reply; -1 when the caller
// is not allowed to; otherwise the result of soap_end_send.
int calcPostCgi(struct soap *soap);
}
