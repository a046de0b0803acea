// base/base64.cpp: Base64 with the standard alphabet of RFC 4648, "=" padding and no line breaks.
#include "base/base64.h"

#include <cstdint>
#include <cstring>

static constexpr char ALPHABET[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
static constexpr int PAD_VALUE = -1;
static constexpr int NO_VALUE = -2;

int httpBase64encode(const unsigned char *in, int inLen, char *out, int outSize)
{
    const int length = static_cast<uint16_t>(inLen);
    int written = 0;
    for (int i = 0; i < length; i += 3) {
        uint32_t group = 0;
        for (int j = i; j < i + 3; ++j)
            group = group << 8 | (j < length ? in[j] : 0U);
        const int significant = length - i >= 3 ? 4 : length - i + 1;
        if (written + 4 > outSize)
            return -1;
        for (int position = 3; position >= 0; --position) {
            out[written + position] = position < significant ? ALPHABET[group & 63] : '=';
            group >>= 6;
        }
        written += 4;
    }
    if (outSize <= written)
        return -1;
    out[written] = '\0';
    return 0;
}

static int valueOf(char character)
{
    if (character == '=')
        return PAD_VALUE;
    const char *found = strchr(ALPHABET, character);
    return found == nullptr ? NO_VALUE : static_cast<int>(found - ALPHABET);
}

int httpBase64decode(const char *in, unsigned char *out, int outLimit)
{
    int length = 0;
    bool finished = false;
    uint32_t group = 0;
    int characters = 0, bits = 0;
    for (; *in != '\0' && !finished; ++in) {
        const int value = valueOf(*in);
        if (value == NO_VALUE) {
            out[length] = '\0';
            return -1;
        }
        group <<= 6;
        if (value != PAD_VALUE) {
            group |= static_cast<uint32_t>(value);
            bits += 6;
        }
        if (++characters < 4)
            continue;
        for (int i = 0; i < 3; ++i)
            out[length + i] = static_cast<unsigned char>(group >> (16 - 8 * i));
        length += bits / 8;
        finished = bits < 24 || length >= outLimit;
        group = 0;
        characters = bits = 0;
    }
    out[length] = '\0';
    return length;
}
