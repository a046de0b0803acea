// http/form_plugin.cpp: hands form POSTs to a handler, and keeps each request's Accept header.
#include "http/form_plugin.h"

#include <cstdlib>
#include <stdsoap2.h>

#include "gsoap/limits.h"

static const char ID[] = "webServer-form";

struct FormPlugin {
    int (*prepare)(struct soap *); // the context's own before us; never called
    int (*parseHeader)(struct soap *, const char *, const char *);
    int (*handler)(struct soap *);
    const char *accept;
};
static_assert(sizeof(FormPlugin) == 4 * sizeof(void *), "16 bytes on the unit");

static FormPlugin *pluginOf(struct soap *soap)
{
    return static_cast<FormPlugin *>(soap_lookup_plugin(soap, ID));
}

extern "C" {

static int http_form_prepare_init_recv(struct soap *soap)
{
    FormPlugin *plugin = pluginOf(soap);
    if (plugin == nullptr)
        return SOAP_PLUGIN_ERROR;
    plugin->accept = nullptr;
    return SOAP_OK;
}

static int http_form_parse_header(struct soap *soap, const char *key, const char *value)
{
    FormPlugin *plugin = pluginOf(soap);
    if (plugin == nullptr)
        return SOAP_PLUGIN_ERROR;
    soap->error = plugin->parseHeader(soap, key, value);
    if (soap->error != SOAP_OK)
        return soap->error;
    if (soap_tag_cmp(key, "Content-Type") == 0) {
        // Deliberate: with "; charset=..." behind it, it is no form.
        if (soap_tag_cmp(value, "application/x-www-form-urlencoded") == 0
            || soap_tag_cmp(value, "multipart/form-data*") == 0) {
            soap->fform = plugin->handler;
            soap->error = SOAP_FORM;
        }
    } else if (soap_tag_cmp(key, "Accept") == 0) {
        plugin->accept = soap_strdup(soap, value);
    }
    return soap->error;
}

static void http_form_delete(struct soap *, struct soap_plugin *plugin)
{
    free(plugin->data);
}

static void http_form_init(struct soap *soap, FormPlugin *plugin, int (*handler)(struct soap *))
{
    plugin->parseHeader = soap->fparsehdr;
    soap->fparsehdr = http_form_parse_header;
    plugin->prepare = soap->fprepareinitrecv;
    soap->fprepareinitrecv = http_form_prepare_init_recv;
    if (handler != nullptr)
        plugin->handler = handler;
}

int http_form(struct soap *soap, struct soap_plugin *plugin, void *handler)
{
    plugin->id = ID;
    plugin->fdelete = http_form_delete;
    plugin->data = calloc(1, sizeof(FormPlugin));
    if (plugin->data != nullptr)
        http_form_init(soap, static_cast<FormPlugin *>(plugin->data),
                       reinterpret_cast<int (*)(struct soap *)>(handler));
    return SOAP_OK;
}

// Reads for the runtime while a form is read, to see a client that stops before it has sent all it
// announced: the runtime does not tell. Service thread only.
static bool endedEarly;
static size_t (*receive)(struct soap *, char *, size_t);

static size_t receiveForm(struct soap *soap, char *to, size_t size)
{
    const size_t length = receive(soap, to, size);
    endedEarly = length == 0;
    return length;
}

} // extern "C"

// The body of a request that has one, as the runtime reads it once core/request_guard has taken its
// attachments away; null when that fails.
static char *readBody(struct soap *soap, bool chunked)
{
    // A chunked form announces no length: the runtime must stop reading by itself, a buffer later.
    const ULONG64 usualLimit = soap->recv_maxlength;
    soap->recv_maxlength = soap->count + MAX_REQUEST_BYTES + sizeof soap->buf;
    receive = soap->frecv;
    soap->frecv = receiveForm;
    endedEarly = false;
    soap->error = SOAP_OK;
    const ULONG64 before = soap->count;
    char *body = soap_http_get_form(soap);
    const bool tooLong = chunked && soap->count - before > MAX_REQUEST_BYTES;
    soap->frecv = receive;
    soap->recv_maxlength = usualLimit;
    return endedEarly || tooLong || soap->error != SOAP_OK ? nullptr : body;
}

char *form(struct soap *soap)
{
    const bool chunked = (soap->mode & SOAP_IO) == SOAP_IO_CHUNK;
    if (chunked)
        soap->length = 0; // the runtime would believe a length that is announced beside the chunks
    const bool readable = chunked || (soap->length > 0 && soap->length <= MAX_REQUEST_BYTES);
    char *body = readable ? readBody(soap, chunked) : nullptr;
    soap->error = SOAP_OK;
    if (body == nullptr) // and no further wait for a body that is refused
        return nullptr;
    soap_end_recv(soap);
    return body[1] == '\0' ? nullptr : body;
}

const char *acceptHeader(struct soap *soap)
{
    const FormPlugin *plugin = pluginOf(soap);
    return plugin == nullptr ? nullptr : plugin->accept;
}
