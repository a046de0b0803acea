// base/base64.h: Base64 with the standard alphabet of RFC 4648, "=" padding and no line breaks.
#pragma once

extern "C" {

// 0, or -1 when out (outSize bytes, the terminator included) is too small. Of inLen only the lower 16
// bits count.
int httpBase64encode(const unsigned char *in, int inLen, char *out, int outSize);

// Bytes decoded, or -1 on a character outside the alphabet; out is terminated either way. Stops
// behind the first padded group and behind the group that reaches outLimit (1 or more), so that out
// needs room for outLimit + BASE64_OVERSHOOT bytes. A last group of fewer than four characters is
// dropped.
int httpBase64decode(const char *in, unsigned char *out, int outLimit);
}

enum { BASE64_OVERSHOOT = 3 };
