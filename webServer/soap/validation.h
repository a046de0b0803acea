// soap/validation.h: what the database operations accept in their fields.
#pragma once

// 1: the operation (name of its function) accepts this value in this field; 0: it does not, or one
// of the two names is unknown.
extern "C" int wsInputStringValidation(const char *operation, const char *field, const char *value);
extern "C" int wsInputIntValidation(const char *operation, const char *field, int value);
