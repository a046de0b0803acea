// web/session_commands.cpp: the commands of a browser's session: login, logout, keep-alive.
#include "web/session_commands.h"

#include <cstring>
#include <stdsoap2.h>

#include "base/base64.h"
#include "gsoap/reply.h"
#include "http/form_fields.h"
#include "session/gate.h"
#include "session/login.h"
#include "web/path_utils.h"
#include "webServer.h"

static constexpr int FIELD_BYTES = 128;

struct Fields {
    char method[FIELD_BYTES + BASE64_OVERSHOOT] = "";
    char arg1[FIELD_BYTES + BASE64_OVERSHOOT] = ""; // user
    char arg2[FIELD_BYTES + BASE64_OVERSHOOT] = ""; // password
};

static Fields readFields(char *body)
{
    Fields fields;
    const struct {
        const char *key;
        char *value;
    } targets[] = {
        {"cgiMethod", fields.method},
        {"arg1",      fields.arg1  },
        {"arg2",      fields.arg2  },
    };
    FormFields field(body, DECODED);
    while (field.next()) {
        unescape_url(field.value); // Deliberate: a second time; pages escape accordingly.
        for (const auto &target : targets)
            if (strcmp(field.key, target.key) == 0)
                httpBase64decode(field.value, reinterpret_cast<unsigned char *>(target.value),
                                 FIELD_BYTES);
    }
    return fields;
}

static int logIn(struct soap *soap, const Fields &fields)
{
    logInUser(soap, fields.arg1, fields.arg2);
    return 0;
}

static int logOut(struct soap *soap, const Fields &)
{
    logOutUser(soap);
    return 0;
}

// Written by hand: gSOAP's own reply would carry other lines.
static void sendAlive(struct soap *soap)
{
    sendHeader(soap, {
                         {"HTTP/1.1 204 No Content", nullptr    },
                         {"Server",                  "gSOAP/2.8"},
                         {"Content-Type",            "none"     },
                         {"Content-Length",          "0"        },
                         {"Connection",              "close"    },
    });
}

static int keepAlive(struct soap *soap, const Fields &)
{
    if (askGate(soap, WS_LEVEL_READ) != WS_ALLOWED) {
        logOutUser(soap);
        return -1;
    }
    sendAlive(soap);
    return 0;
}

int runSessionCommand(struct soap *soap, char *body)
{
    static const struct {
        const char *method;
        int (*run)(struct soap *, const Fields &);
    } COMMANDS[] = {
        {"cgiLogin",     logIn    },
        {"cgiLogout",    logOut   },
        {"cgiKeepAlive", keepAlive},
    };
    if (body == nullptr)
        return 0;
    const Fields fields = readFields(body);
    for (const auto &command : COMMANDS)
        if (strcmp(fields.method, command.method) == 0)
            return command.run(soap, fields);
    return 0; // Deliberate: an unknown command gets no reply.
}
