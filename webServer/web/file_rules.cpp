// web/file_rules.cpp: which files are served, to whom, and as what. The order is behaviour.
#include "web/file_rules.h"

#include <stdsoap2.h>

// Deliberate: only pages take a query; "site.css?x=1" matches nothing and is refused.
static const bool NO_QUERY = true;
static const bool WITH_QUERY = false;

static const FileRule FILE_RULES[] = {
    {"*.json",       FOR_ANYONE,      "application/json",              WITH_QUERY},
    {"*.js",         FOR_ANYONE,      "text/html",                     WITH_QUERY}, // Deliberate: no script type.
    {"*.css",        FOR_ANYONE,      "text/css",                      WITH_QUERY},
    {"/lan/*.xml",   FOR_ANYONE,      "text/html",                     WITH_QUERY},
    {"*/cslog.log*", LOG_FOR_READERS, "text/plain",                    WITH_QUERY},
    {"*.xml",        FOR_READERS,     "text/html",                     WITH_QUERY},
    {"*.xsd",        FOR_READERS,     "text/html",                     WITH_QUERY},
    {"*.wsdl",       FOR_READERS,     "text/html",                     WITH_QUERY},
    {"*.jpg",        FOR_ANYONE,      "image/jpeg",                    WITH_QUERY},
    {"*.gif",        FOR_ANYONE,      "image/gif",                     WITH_QUERY},
    {"*.ico",        FOR_ANYONE,      "image/ico",                     WITH_QUERY},
    {"*.png",        FOR_ANYONE,      "image/png",                     WITH_QUERY},
    {"*.jpe",        FOR_ANYONE,      "image/jpeg",                    WITH_QUERY},
    {"*.ttf",        FOR_ANYONE,      "application/x-font-ttf",        WITH_QUERY},
    {"*.woff",       FOR_ANYONE,      "application/font-woff",         WITH_QUERY},
    {"*.eot",        FOR_ANYONE,      "application/vnd.ms-fontobject", WITH_QUERY},
    {"*.svg",        FOR_ANYONE,      "image/svg+xml",                 WITH_QUERY},
    {"*.html",       FOR_SESSIONS,    "text/html",                     NO_QUERY  },
    {"*.htm",        FOR_SESSIONS,    "text/html",                     NO_QUERY  },
};

const FileRule *findFileRule(const char *target, const char *path)
{
    for (const FileRule &rule : FILE_RULES)
        if (soap_tag_cmp(rule.withoutQuery ? path : target, rule.pattern) == 0)
            return &rule;
    return nullptr;
}
