// web/post_handler.h: answers a browser's form POST.
#pragma once

struct soap;

extern "C" {

// The callback of the form plug-in.
int http_post_handler(struct soap *soap);

// Runs the command of a form: 0 handled (an answer may still be missing), -1 not allowed, or the
// result of soap_end_send.
int calcPostCgi(struct soap *soap);
}
