// tests/web/path_utils_test.cpp: request paths and file names.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "web/path_utils.h"
#include "webServer.h"

TEST(ParseURL, EndsThePathAtTheFirstQuestionMarkAndCutsIt)
{
    const std::string x300(300, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"/a/b", "/a/b"},        {"?a=1", ""},      {"/p?a?b", "/p"}, {x300 + "?q", x300},
        {x300 + "more?q", x300}, {"/?" + x300, "/"}};
    for (const auto &[url, expected] : cases) {
        char path[PATH_PART_SIZE], query[PATH_PART_SIZE];
        EXPECT_EQ(0, parseURL(url.c_str(), path, query));
        EXPECT_EQ(expected, path);
    }
    EXPECT_EQ(0, parseURL(nullptr, nullptr, nullptr));
}

TEST(Unescape, ReadsTwoDigitsAndNeverPastTheEnd)
{
    static const char *const CASES[][2] = {
        {"%41%2f%fF", "A/\xFF"}, {"a+b", "a+b"}, {"%4a%4A%6A", "JJj"},
        {"100%", "100%"},        {"%4", "%4"},   {"%00x", ""}};
    for (const auto &row : CASES) {
        char text[16];
        strcpy(text, row[0]);
        unescape_url(text);
        EXPECT_STREQ(row[1], text);
    }
}

TEST(PathUtils, TranslatesReplacesAndChecks)
{
    static const char *const REPLACED[][4] = {
        {"aVVbVV", "VV", "Y", "aYbY"}, {"aXb", "X", "long", "alongb"}, {"VVV", "VV", "Y", "YV"},
        {"abc", "b", "x", "axc"},      {"abc", "z", "x", "abc"},       {"abc", "", "x", "abc"}};
    for (const auto &[from, what, by, expected] : REPLACED) {
        char *text = replace_str(from, what, by);
        EXPECT_STREQ(expected, text);
        free(text);
    }
    g_webDir = "/web/";
    g_configDir = "/cfg/";
    static const std::tuple<const char *, int, const char *> TRANSLATED[] = {
        {"/cfgFiles/a/cfgFiles.xml", 1, "/cfg//a/cfg/.xml"},
        {"/img/a.png", 0, "/web//img/a.png"},
        {"x/cfgFiles", 0, "/web/x/cfgFiles"}};
    for (const auto &[path, result, expected] : TRANSLATED) {
        char *text = nullptr;
        EXPECT_EQ(result, traduceWebToFsPath(&text, path));
        EXPECT_STREQ(expected, text);
        free(text);
    }
    static const std::tuple<const char *, int, int> VETTED[] = {
        {"a-b_c.Z09", 1, 1}, {"/web/../a", 1, 0}, {"", 1, 1},
        {"a b", 0, 0},       {"a%20", 0, 0},      {"\xC3\xA4", 0, 0}};
    for (const auto &[text, path, name] : VETTED) {
        EXPECT_EQ(path, validatePathSyntax(text)) << text;
        EXPECT_EQ(name, validateFilenameSyntax(text)) << text;
    }
    char file[] = "/mnt/a/b.txt", plain[] = "b.txt";
    EXPECT_EQ(file + 6, getFolderPath(file));
    EXPECT_STREQ("/mnt/a/", file);
    EXPECT_EQ(nullptr, getFolderPath(plain));
    EXPECT_STREQ("b.txt", plain);
}
