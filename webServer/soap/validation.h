// soap/validation.h: what the database operations accept in their fields.
#pragma once

extern "C" {

// Return 1 when the operation, named by its function, accepts this value in this field. Return 0 when it
// does not, and when one of the two names is unknown.
int wsInputStringValidation(const char *operation, const char *field, const char *value);
int wsInputIntValidation(const char *operation, const char *field, int value);
}
