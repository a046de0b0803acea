// web/file_rules.cpp: which files are served, to whom, and as what. The order is behaviour.
#include "web/file_rules.h"

#include <stdsoap2.h>

// Deliberate: only pages take a query; "site.css?x=1" matches nothing and is refused. Scripts and XML
// are sent as text/html: classic scripts run all the same, and pages parse XML themselves.
static constexpr FileRule FILE_RULES[] = {
    {"*.json",       FOR_ANYONE,      "application/json",              MATCH_TARGET},
    {"*.js",         FOR_ANYONE,      "text/html",                     MATCH_TARGET},
    {"*.css",        FOR_ANYONE,      "text/css",                      MATCH_TARGET},
    {"/lan/*.xml",   FOR_ANYONE,      "text/html",                     MATCH_TARGET},
    {"*/cslog.log*", LOG_FOR_READERS, "text/plain",                    MATCH_TARGET},
    {"*.xml",        FOR_READERS,     "text/html",                     MATCH_TARGET},
    {"*.xsd",        FOR_READERS,     "text/html",                     MATCH_TARGET},
    {"*.wsdl",       FOR_READERS,     "text/html",                     MATCH_TARGET},
    {"*.jpg",        FOR_ANYONE,      "image/jpeg",                    MATCH_TARGET},
    {"*.gif",        FOR_ANYONE,      "image/gif",                     MATCH_TARGET},
    {"*.ico",        FOR_ANYONE,      "image/ico",                     MATCH_TARGET},
    {"*.png",        FOR_ANYONE,      "image/png",                     MATCH_TARGET},
    {"*.jpe",        FOR_ANYONE,      "image/jpeg",                    MATCH_TARGET},
    {"*.ttf",        FOR_ANYONE,      "application/x-font-ttf",        MATCH_TARGET},
    {"*.woff",       FOR_ANYONE,      "application/font-woff",         MATCH_TARGET},
    {"*.eot",        FOR_ANYONE,      "application/vnd.ms-fontobject", MATCH_TARGET},
    {"*.svg",        FOR_ANYONE,      "image/svg+xml",                 MATCH_TARGET},
    {"*.html",       FOR_SESSIONS,    "text/html",                     MATCH_PATH  },
    {"*.htm",        FOR_SESSIONS,    "text/html",                     MATCH_PATH  },
};

const FileRule *findFileRule(const char *target, const char *path)
{
    for (const FileRule &rule : FILE_RULES)
        if (soap_tag_cmp(rule.match == MATCH_PATH ? path : target, rule.pattern) == 0)
            return &rule;
    return nullptr;
}
