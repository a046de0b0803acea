// http/form_plugin.cpp: hands form POSTs to a handler, and keeps each request's Accept header.
#include "http/form_plugin.h"

#include <cstdlib>
#include <stdsoap2.h>

#include "webServerHost.h"

static constexpr char ID[] = "webServer-form";

struct FormPlugin {
    int (*prepare)(struct soap *); // Deliberate: saved but never called; gSOAP sets none.
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
    soap->error = SOAP_OK;
    const int error = plugin->parseHeader(soap, key, value);
    // gSOAP goes on without a value that it has no memory for. If that is the Origin, a gate would take a
    // page of another site for the unit's own.
    if (error != SOAP_OK || soap->error != SOAP_EOM)
        soap->error = error;
    if (soap->error != SOAP_OK)
        return soap->error;
    if (soap_tag_cmp(key, "Content-Type") == 0) {
        // Deliberate: the whole value must match, so a type with "; charset=..." is not a form.
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
    else
        sLogErr("webServer: no memory for the form plug-in: forms are refused");
    return SOAP_OK;
}

} // extern "C"

const char *acceptHeader(struct soap *soap)
{
    const FormPlugin *plugin = pluginOf(soap);
    return plugin == nullptr ? nullptr : plugin->accept;
}
