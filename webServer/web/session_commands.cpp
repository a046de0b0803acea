// web/session_commands.cpp: the commands of a browser's session: login, logout, keep-alive.
#include "web/session_commands.h"

#include <cstring>
#include <stdsoap2.h>

#include "base/base64.h"
#include "session/gate.h"
#include "session/login.h"
#include "web/path_utils.h"
#include "webServer.h"

static const int FIELD_BYTES = 128;

struct Fields {
    char method[FIELD_BYTES + BASE64_OVERSHOOT] = "";
    char arg1[FIELD_BYTES + BASE64_OVERSHOOT] = ""; // user
    char arg2[FIELD_BYTES + BASE64_OVERSHOOT] = ""; // password
};

// A form as text for gSOAP's query decoder, which steps over up to two terminators when a value ends
// in "%" or in an open quote: it stands before three of them.
struct Query {
    char *cursor;
    const char *end;
};

static Query copyOf(struct soap *soap, const char *body)
{
    char *copy = static_cast<char *>(soap_malloc(soap, strlen(body) + 3));
    if (copy == nullptr)
        return {nullptr, nullptr};
    char *end = stpcpy(copy, body);
    end[1] = end[2] = '\0';
    return {copy, end};
}

// Takes the next key (null at the end) or the key's value (null when it has none), decoded. Not by
// soap_query_key and _val: they look for the end of the whole query at every pair.
static char *nextPart(Query *query, bool value)
{
    char *part = query->cursor;
    if (part >= query->end || (value && *part != '='))
        return nullptr;
    const auto room = static_cast<std::size_t>(query->end - part);
    query->cursor = const_cast<char *>(soap_query_decode(part, room, part + 1));
    return part;
}

static void readFields(struct soap *soap, const char *body, Fields *fields)
{
    const struct {
        const char *key;
        char *value;
    } targets[] = {
        {"cgiMethod", fields->method},
        {"arg1",      fields->arg1  },
        {"arg2",      fields->arg2  },
    };
    Query query = copyOf(soap, body);
    while (const char *key = nextPart(&query, false)) {
        char *value = nextPart(&query, true);
        if (value == nullptr)
            continue;
        unescape_url(value); // Deliberate: once more than the parser has; pages escape accordingly.
        for (const auto &target : targets)
            if (strcmp(key, target.key) == 0)
                httpBase64decode(value, reinterpret_cast<unsigned char *>(target.value),
                                 FIELD_BYTES);
    }
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

// A bare header, written by hand and sent in one piece.
static void sendAlive(struct soap *soap)
{
    static const struct {
        const char *key, *value;
    } LINES[] = {
        {"HTTP/1.1 204 No Content", nullptr    },
        {"Server",                  "gSOAP/2.8"},
        {"Content-Type",            "none"     },
        {"Content-Length",          "0"        },
        {"Connection",              "close"    },
        {nullptr,                   nullptr    },
    };
    soap->mode = (soap->mode & ~static_cast<soap_mode>(SOAP_IO)) | SOAP_IO_BUFFER;
    soap->bufidx = 0;
    for (const auto &line : LINES)
        soap->fposthdr(soap, line.key, line.value);
    soap_flush(soap);
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

int runSessionCommand(struct soap *soap, const char *body)
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
    Fields fields;
    readFields(soap, body, &fields);
    for (const auto &command : COMMANDS)
        if (strcmp(fields.method, command.method) == 0)
            return command.run(soap, fields);
    return 0; // Deliberate: an unknown command gets no answer.
}
