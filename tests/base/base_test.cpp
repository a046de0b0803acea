// tests/base/base_test.cpp: Base64 and bounded text.
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "base/base64.h"
#include "base/text.h"

TEST(Base64, EncodesGroupsOfThreeAndFailsWithoutRoom)
{
    static const struct {
        const char *plain, *coded;
    } CASES[] = {{"", ""},
                 {"A", "QQ=="},
                 {"AB", "QUI="},
                 {"ABC", "QUJD"},
                 {"\xFB\xEF\xFF", "++//"},
                 {"00000000:12345678", "MDAwMDAwMDA6MTIzNDU2Nzg="}};
    for (const auto &row : CASES)
        for (const int spare : {0, 1}) {
            const std::string more = std::string(row.plain) + "\xFF\xFF";
            char out[32];
            const int size = static_cast<int>(strlen(row.coded)) + spare;
            EXPECT_EQ(spare - 1,
                      httpBase64encode(reinterpret_cast<const unsigned char *>(more.data()),
                                       static_cast<int>(strlen(row.plain) + 65536), out, size))
                << "the lower 16 bits count";
            if (spare == 1) {
                EXPECT_STREQ(row.coded, out);
            }
        }
}

TEST(Base64, DecodesUpToTheLimitAndStopsAtAnyOtherCharacter)
{
    static const struct {
        const char *coded;
        int limit, result;
        const char *plain;
    } CASES[] = {{"QUJD", 9, 3, "ABC"},      {"QUI=", 9, 2, "AB"},
                 {"QQ==QUJD", 9, 1, "A"},    {"QUJDQUI=", 9, 5, "ABCAB"},
                 {"QQ", 9, 0, ""},           {"QUJDQ", 9, 3, "ABC"},
                 {"QU*D", 9, -1, ""},        {"QUJD QUJD", 9, -1, "ABC"},
                 {"QUJD\xC3", 9, -1, "ABC"}, {"QUJDQUJDQUJD", 4, 6, "ABCABC"},
                 {"====", 9, 0, ""},         {"", 9, 0, ""}};
    for (const auto &row : CASES) {
        unsigned char out[9 + BASE64_OVERSHOOT];
        EXPECT_EQ(row.result, httpBase64decode(row.coded, out, row.limit)) << row.coded;
        EXPECT_STREQ(row.plain, reinterpret_cast<char *>(out)) << row.coded;
    }
}

TEST(Text, IsCutBetweenCharactersAndAnywhereIfItIsNotUtf8)
{
    static const struct {
        const char *text;
        std::size_t limit, kept;
    } CASES[] = {{"a\xE2\x82\xAC", 4, 4},        {"a\xE2\x82\xAC", 3, 1},
                 {"\xE2\x82\xAC", 2, 0},         {"a\xF0\x9F\x98\x80", 4, 1},
                 {"\x80\x80\x80\x80\x80", 4, 4}, {"\x80\x80", 1, 1}};
    for (const auto &row : CASES)
        EXPECT_EQ(row.kept, fittingBytes(row.text, row.limit)) << row.text << row.limit;
}

TEST(Text, IsPrintedWithinItsRoom)
{
    char text[8] = "unused";
    EXPECT_EQ(-1, safe_sprintf(text, 0, "%s", "x"));
    EXPECT_STREQ("unused", text);
    EXPECT_EQ(3, safe_sprintf(text, 4, "%s", "ab"));
    EXPECT_EQ(4, safe_sprintf(text, 4, "%s", "0123456789"));
    EXPECT_STREQ("012", text);
}
