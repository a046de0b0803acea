// bench/bare.cpp: what scripts/speed compares the library with: a service that gSOAP generates from the same
// description, with default settings and the installed plug-ins for GET and forms.
//
//   bare PORT      with WEB_DIR in the environment
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <httpform.h>
#include <httpget.h>
#include <soapH.h>
#include <soapServ.nsmap>

#include "requests.h"

static const char POINT_TEXT[] = "123.4|G"; // as the host's in host.cpp

static int readPoint(char *text)
{
    memcpy(text, POINT_TEXT, sizeof POINT_TEXT);
    return 0;
}

// ---- The operations that are measured; the linker leaves the others undefined ----------------------

int ns__coreDbReadData(struct soap *soap, char *, char *, char *, char **result)
{
    *result = static_cast<char *>(soap_malloc(soap, 1024));
    return *result == nullptr ? SOAP_EOM : readPoint(*result);
}

int ns__coreDbReadMultData(struct soap *soap, char *, char *names, char *, int *number,
                           char **result)
{
    char *next = static_cast<char *>(soap_malloc(soap, static_cast<std::size_t>(*number) * 64 + 1));
    *result = next;
    for (int i = 0; next != nullptr && i < *number; ++i) {
        char *end = *names == '[' ? strchr(names, ']') : nullptr;
        if (end == nullptr)
            return soap_receiver_fault(soap, "list", nullptr);
        *end = '\0';
        char text[312];
        readPoint(text);
        next = stpcpy(stpcpy(stpcpy(next, "["), text), "]");
        names = end + 1;
    }
    return next == nullptr ? SOAP_EOM : SOAP_OK;
}

// ---- Files and the login ---------------------------------------------------------------------------

static int sendFile(struct soap *soap)
{
    const char *folder = getenv("WEB_DIR");
    const std::string path = std::string(folder == nullptr ? "" : folder) + (soap->path + 1);
    FILE *file = fopen(path.c_str(), "rb");
    if (file == nullptr)
        return SOAP_GET_METHOD;
    soap->http_content = "application/json";
    char block[1024];
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        for (std::size_t length; (length = fread(block, 1, sizeof block, file)) > 0;)
            if (soap_send_raw(soap, block, length) != SOAP_OK)
                break;
    fclose(file);
    return soap_end_send(soap);
}

static int logIn(struct soap *soap)
{
    std::string password;
    for (char *form = soap_http_get_form(soap); form != nullptr;) {
        const char *key = soap_query_key(soap, &form), *value = soap_query_val(soap, &form);
        int length = 0;
        const char *text =
            value == nullptr ? nullptr : soap_base642s(soap, value, nullptr, 0, &length);
        if (key != nullptr && text != nullptr && strcmp(key, "arg2") == 0)
            password.assign(text, static_cast<std::size_t>(length));
    }
    soap_end_recv(soap);
    if (password != "admin")
        return 403;
    soap_set_cookie(soap, "SESSIONID", SESSION_ID, "", "/");
    soap_set_cookie_session(soap, "SESSIONID", "", "/");
    soap->http_content = "application/json";
    if (soap_response(soap, SOAP_FILE) == SOAP_OK)
        soap_send(soap, "{\"status\":\"success\", \"level\":\"250\"}");
    soap_end_send(soap);
    soap_free_cookies(soap);
    return SOAP_OK;
}

int main(int argc, char **argv)
{
    static struct soap context;
    soap_init2(&context, 0x2000000, 0x2000000);
    soap_register_plugin_arg(&context, http_get, reinterpret_cast<void *>(sendFile));
    soap_register_plugin_arg(&context, http_form, reinterpret_cast<void *>(logIn));
    context.bind_flags = SO_REUSEADDR;
    if (argc != 2 || !soap_valid_socket(soap_bind(&context, "127.0.0.1", atoi(argv[1]), 100)))
        return 2;
    for (;;) {
        soap_accept(&context);
        soap_serve(&context);
        soap_destroy(&context);
        soap_end(&context);
    }
}
