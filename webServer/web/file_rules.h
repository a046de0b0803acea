// web/file_rules.h: which files are served, to whom, and as what.
#pragma once

enum FileAccess {
    FOR_ANYONE,
    FOR_SESSIONS,    // a valid session
    FOR_READERS,     // a valid session and, in host security mode, the gate at the read level
    LOG_FOR_READERS, // the log listing: as for readers, but only in host security mode
};

enum RuleMatch {
    MATCH_TARGET, // the whole request target
    MATCH_PATH,   // the part of it before the query
};

struct FileRule {
    const char *pattern; // "*" stands for anything; upper and lower case are the same
    FileAccess access;
    const char *contentType;
    RuleMatch match;
};

// Returns the first rule that matches; null when the file is not served. target is the whole request
// path, path its part before the query.
const FileRule *findFileRule(const char *target, const char *path);
