// base/base64.h: Base64 with the standard alphabet of RFC 4648, "=" padding and no line breaks.
#pragma once

extern "C" {

// Encodes and terminates. Returns 0; -1 when out, of outSize bytes, is too small. Only the lower 16 bits
// of inLen count.
int httpBase64encode(const unsigned char *in, int inLen, char *out, int outSize);

// Decodes and terminates. Returns the number of bytes; -1 at a character outside the alphabet. Stops
// after the first padded group and after the group that reaches outLimit (1 or more), so out needs room
// for outLimit + BASE64_OVERSHOOT bytes. Drops a last group of fewer than four characters.
int httpBase64decode(const char *in, unsigned char *out, int outLimit);
}

enum { BASE64_OVERSHOOT = 3 };
