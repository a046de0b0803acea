// web/get_handler.cpp: answers a browser's GET.
#include "web/get_handler.h"

int http_get_handler(struct soap *)
{
    return -1; // No web pages yet: every GET is refused.
}
