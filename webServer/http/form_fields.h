// http/form_fields.h: the fields of a form, one after the other.
#pragma once

struct soap;

enum FieldCoding {
    AS_SENT, // keys end at "=", values at the next "&", and escapes stay
    DECODED, // as gSOAP's query functions decode them: "+" is a space, %XX a byte, quotes are removed
};

// Takes a form apart in place: keys and values are parts of the form's memory, and the form cannot be
// read a second time. Skips fields without a value.
class FormFields {
    char *cursor_; // null at the end
    char *end_;
    FieldCoding coding_;

    char *nextDecoded();

public:
    const char *key = nullptr;
    char *value = nullptr;

    // form begins with a "?", which AS_SENT counts as a part of the first key.
    FormFields(char *form, FieldCoding coding);

    // Moves to the next field and returns true; returns false when there is none.
    bool next();
};

extern "C" {

// The splitters of AS_SENT. query_key2 returns the key up to "=", query_val2 the value up to "&", and
// both move the cursor after it. At the end of the text they set the cursor to null and return null.
char *query_key2(struct soap *soap, char **cursor);
char *query_val2(struct soap *soap, char **cursor);
}
