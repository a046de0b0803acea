// tests/support/wire.h: the running service and the envelopes that tests send to it.
#pragma once

#include <string>

#include "support/client.h"
#include "support/fake_host.h"

// The service on a loopback port, from start to close.
class Service {
    int port_;

public:
    explicit Service(int port = freePort());
    ~Service(); // closes it; the test fails when it does not stop
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;
    int port() const { return port_; }

    // Posts an envelope and returns the HTTP reply. headers are further lines, each with its CR LF.
    std::string post(const std::string &envelope, const std::string &headers = "") const;
};

// Returns a POST with these header lines, each with its CR LF.
std::string httpPost(const std::string &headers, const std::string &body,
                     const std::string &target = "/");

extern const std::string FORM; // the header line of a form's type

// Encodes a field of a form as a page does: in Base64, then escaped for a URL.
std::string formField(const std::string &text);

// Ends all sessions and lockouts. The ids of the next sessions are then always the same.
void forgetSessions(struct soap *soap);

// The test fails when the service does not answer an ordinary request.
void expectServes(int port);

// Waits until the service runs.
bool startsToRun();

// Initialises the context and opens the service on a free port, without its thread. Returns the context.
struct soap *openOnFreePort(struct soap *soap);

// Returns <n:operation>children</n:operation> in an envelope of SOAP 1.1 or 1.2.
std::string envelope(const std::string &operation, const std::string &children = "",
                     bool soap12 = false, const std::string &header = "");

// Appends a reply to the file that the variable REPLIES names, if it is set. A comparison of the files
// of two builds then shows whether they answer any case differently.
void recordReply(const std::string &request, const std::string &reply);
