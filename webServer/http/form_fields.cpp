// http/form_fields.cpp: the fields of a form, one after the other.
#include "http/form_fields.h"

#include <cstring>

static char *takeUntil(char separator, char **cursor)
{
    char *part = *cursor;
    if (*part == '\0')
        return *cursor = nullptr;
    *cursor = strchrnul(part, separator);
    if (**cursor != '\0')
        *(*cursor)++ = '\0';
    return part;
}

char *query_key2(struct soap *, char **cursor)
{
    return takeUntil('=', cursor);
}

char *query_val2(struct soap *, char **cursor)
{
    return takeUntil('&', cursor);
}

static bool endsPart(char character)
{
    return character == '&' || character == '=';
}

// Deliberate: no check that the character is a hexadecimal digit; gSOAP makes none.
static int hexValue(char character)
{
    return character >= 'A' ? (character & 7) + 9 : character - '0';
}

// Decodes the part that begins at from into to, which may be one byte before it. Returns where the next
// part begins. It decodes as soap_query_decode does, but stays before end: gSOAP's would step over the
// terminator when a value ends in "%" or in an open quote.
static char *decodePart(char *to, char *from, const char *end)
{
    const auto at = [end](const char *place) { return place < end ? *place : '\0'; };
    while (at(from) == ' ' || at(from) == '=')
        ++from;
    if (at(from) == '"') {
        ++from;
        while (from < end && *from != '"')
            *to++ = *from++;
        if (from < end)
            ++from;
        while (from < end && !endsPart(*from))
            ++from;
    } else {
        while (from < end && !endsPart(*from)) {
            const char character = *from++;
            if (character == '+') {
                *to++ = ' ';
            } else if (character == '%') {
                *to++ = static_cast<char>(hexValue(at(from)) * 16 + hexValue(at(from + 1)));
                from += 2;
            } else if (strchr("\t\n\r ", character) == nullptr) {
                *to++ = character;
            }
        }
    }
    *to = '\0';
    return from;
}

FormFields::FormFields(char *form, FieldCoding coding)
    : cursor_(form), end_(form == nullptr ? nullptr : strchr(form, '\0')), coding_(coding)
{}

// Decodes over the separator in front of the part, so that its terminator fits.
char *FormFields::nextDecoded()
{
    char *part = cursor_;
    cursor_ = decodePart(part, part + 1, end_);
    return part;
}

bool FormFields::next()
{
    for (;;) {
        if (cursor_ == nullptr || (coding_ == DECODED && cursor_ >= end_))
            return false;
        key = coding_ == AS_SENT ? query_key2(nullptr, &cursor_) : nextDecoded();
        if (coding_ == AS_SENT)
            value = cursor_ == nullptr ? nullptr : query_val2(nullptr, &cursor_);
        else
            value = cursor_ < end_ && *cursor_ == '=' ? nextDecoded() : nullptr;
        if (value != nullptr)
            return true;
    }
}
