// tests/support/request.h: a gSOAP context for calling one operation without a wire.
#pragma once

#include <memory>
#include <soapH.h>
#include <string>

class Request {
    std::unique_ptr<struct soap> soap_{new struct soap};

public:
    Request() { soap_init2(soap_.get(), 0x2000000, 0x2000000); }
    ~Request()
    {
        soap_destroy(soap_.get());
        soap_end(soap_.get());
        soap_done(soap_.get());
    }
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    operator struct soap *() { return soap_.get(); }
    std::string faultString() { return text(*soap_faultstring(soap_.get())); }
    std::string faultDetail()
    {
        const char *detail = soap_fault_detail(soap_.get());
        return text(detail);
    }

    // A text that an operation may change in place.
    char *change(const std::string &value) { return soap_strdup(soap_.get(), value.c_str()); }

    static std::string text(const char *value) { return value == nullptr ? "(none)" : value; }
};
