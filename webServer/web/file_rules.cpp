// web/file_rules.cpp: which files are served, to whom, and as what. The order is behaviour.
#include "web/file_rules.h"

#include <stdsoap2.h>

// Deliberate: only pages take a query; "site.css?x=1" matches nothing and is refused. Scripts and XML
// go out as text/html: classic scripts run all the same, and pages parse XML by themselves.
static const FileRule FILE_RULES[] = {
    {"*.json",       FOR_ANYONE,      "application/json",              TARGET},
    {"*.js",         FOR_ANYONE,      "text/html",                     TARGET},
    {"*.css",        FOR_ANYONE,      "text/css",                      TARGET},
    {"/lan/*.xml",   FOR_ANYONE,      "text/html",                     TARGET},
    {"*/cslog.log*", LOG_FOR_READERS, "text/plain",                    TARGET},
    {"*.xml",        FOR_READERS,     "text/html",                     TARGET},
    {"*.xsd",        FOR_READERS,     "text/html",                     TARGET},
    {"*.wsdl",       FOR_READERS,     "text/html",                     TARGET},
    {"*.jpg",        FOR_ANYONE,      "image/jpeg",                    TARGET},
    {"*.gif",        FOR_ANYONE,      "image/gif",                     TARGET},
    {"*.ico",        FOR_ANYONE,      "image/ico",                     TARGET},
    {"*.png",        FOR_ANYONE,      "image/png",                     TARGET},
    {"*.jpe",        FOR_ANYONE,      "image/jpeg",                    TARGET},
    {"*.ttf",        FOR_ANYONE,      "application/x-font-ttf",        TARGET},
    {"*.woff",       FOR_ANYONE,      "application/font-woff",         TARGET},
    {"*.eot",        FOR_ANYONE,      "application/vnd.ms-fontobject", TARGET},
    {"*.svg",        FOR_ANYONE,      "image/svg+xml",                 TARGET},
    {"*.html",       FOR_SESSIONS,    "text/html",                     PATH  },
    {"*.htm",        FOR_SESSIONS,    "text/html",                     PATH  },
};

const FileRule *findFileRule(const char *target, const char *path)
{
    for (const FileRule &rule : FILE_RULES)
        if (soap_tag_cmp(rule.subject == PATH ? path : target, rule.pattern) == 0)
            return &rule;
    return nullptr;
}
