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
    MATCH_PATH,   // its part before the query
};

struct FileRule {
    const char *pattern; // "*" stands for anything; letter case does not count
    FileAccess access;
    const char *contentType;
    RuleMatch match;
};

// The first rule that matches; null: the file is not served.
const FileRule *findFileRule(const char *target, const char *path);
