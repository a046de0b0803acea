// tests/base/base_test.cpp: Base64 and bounded text.
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "base/base64.h"
#include "base/text.h"

TEST(Base64, EncodesGroupsOfThreeAndFailsWithoutRoom)
{
    static const std::pair<std::string, const char *> CASES[] = {
        {"", ""},
        {"A", "QQ=="},
        {"AB", "QUI="},
        {"ABC", "QUJD"},
        {"\xFB\xEF\xFF", "++//"},
        {"00000000:12345678", "MDAwMDAwMDA6MTIzNDU2Nzg="}};
    for (const auto &[plain, coded] : CASES)
        for (const int spare : {0, 1}) { // the last one has room
            const std::string more = plain + "\xFF\xFF";
            char out[32];
            const int size = static_cast<int>(strlen(coded)) + spare;
            EXPECT_EQ(spare - 1,
                      httpBase64encode(reinterpret_cast<const unsigned char *>(more.data()),
                                       static_cast<int>(plain.size() + 65536), out, size))
                << "the lower 16 bits count";
            EXPECT_TRUE(spare == 0 || out == std::string(coded)) << coded;
        }
}

TEST(Base64, DecodesUpToTheLimitAndStopsAtAnyOtherCharacter)
{
    static const std::tuple<const char *, int, int, const char *> CASES[] = {
        {"QUJD", 9, 3, "ABC"},      {"QUI=", 9, 2, "AB"},
        {"QQ==QUJD", 9, 1, "A"},    {"QUJDQUI=", 9, 5, "ABCAB"},
        {"QQ", 9, 0, ""},           {"QUJDQ", 9, 3, "ABC"},
        {"QU*D", 9, -1, ""},        {"QUJD QUJD", 9, -1, "ABC"},
        {"QUJD\xC3", 9, -1, "ABC"}, {"QUJDQUJDQUJD", 4, 6, "ABCABC"},
        {"====", 9, 0, ""},         {"", 9, 0, ""}};
    for (const auto &[coded, limit, result, plain] : CASES) {
        unsigned char out[9 + BASE64_OVERSHOOT];
        EXPECT_EQ(result, httpBase64decode(coded, out, limit)) << coded;
        EXPECT_STREQ(plain, reinterpret_cast<char *>(out)) << coded;
    }
}

TEST(Text, IsCutBetweenCharactersAndAnywhereIfItIsNotUtf8)
{
    static const std::tuple<const char *, std::size_t, std::size_t> CASES[] = {
        {"a\xE2\x82\xAC", 4, 4},     {"a\xE2\x82\xAC", 3, 1},        {"\xE2\x82\xAC", 2, 0},
        {"a\xF0\x9F\x98\x80", 4, 1}, {"\x80\x80\x80\x80\x80", 4, 4}, {"\x80\x80", 1, 1}};
    for (const auto &[text, limit, kept] : CASES)
        EXPECT_EQ(kept, fittingBytes(text, limit)) << text << limit;
}
