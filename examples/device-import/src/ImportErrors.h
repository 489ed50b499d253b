// SPDX-License-Identifier: Apache-2.0
//
// The errors of an import, by category. A broken line gives one chain: the list is rejected because
// of a line, the line because of a fault of its own or of one of its fields.
//
//     ZEL_RAISE(FieldError, FIELD_EMPTY, "name");
//     ZEL_RAISE_ON(LineError, LINE_REJECTED, 17);

#ifndef DEVICE_IMPORT_IMPORTERRORS_H
#define DEVICE_IMPORT_IMPORTERRORS_H

#include <common/error/ErrorType.h>

namespace deviceimport {

/// Root of all errors of an import.
extern std::ErrorType ImportError;
/// A list as a whole; an ImportError.
extern std::ErrorType ListError;
/// A line of a list; an ImportError.
extern std::ErrorType LineError;
/// A field of a line; an ImportError.
extern std::ErrorType FieldError;
/// What the parser of a line sets right by itself; a FieldError.
extern std::ErrorType RepairableError;

/// Rows of ImportError, with their values.
enum {
    IMPORT_SYSTEM_CALL, ///< const char* call, const char* text of errno
    IMPORT_PROVOKED,    ///< none
    IMPORT_STALLED,     ///< int milliseconds
};

/// Rows of ListError, with their values.
enum {
    LIST_REJECTED,   ///< const char* file
    LIST_UNREADABLE, ///< const char* file
};

/// Rows of LineError, with their values.
enum {
    LINE_REJECTED,        ///< int line
    LINE_TOO_FEW_FIELDS,  ///< int found, int least
    LINE_TOO_MANY_FIELDS, ///< int found, int most
    LINE_TOO_LONG,        ///< int most bytes in UTF-8
    LINE_ENDLESS,         ///< int line, int bytes read
    LINE_UNDECODABLE,     ///< int column from 1, const char* bytes, const char* encoding
};

/// Rows of FieldError, with their values.
enum {
    FIELD_EMPTY,             ///< const char* field
    FIELD_TOO_LONG,          ///< const char* field, int bytes found in UTF-8, int most
    FIELD_CONTROL_CHARACTER, ///< const char* field, int character
    UUID_LENGTH,             ///< int found, int expected
    UUID_DASH,               ///< const char* uuid, int position from 1
    UUID_DIGIT,              ///< const char* uuid, int position from 1
    UUID_NIL,                ///< none
    UUID_USED,               ///< const char* uuid, int earlier line
    LOCATION_SHAPE,          ///< const char* location
    LOCATION_FLOOR,          ///< const char* floor
    LEVEL_NOT_A_NUMBER,      ///< const char* level
    LEVEL_RANGE,             ///< const char* level
};

/// Rows of RepairableError, with their values.
enum {
    REPAIR_CARRIAGE_RETURN, ///< none
    REPAIR_OUTER_BLANKS,    ///< const char* field
    REPAIR_UUID_BRACES,     ///< none
    REPAIR_UUID_CAPITALS,   ///< none
    REPAIR_LEVEL_MISSING,   ///< int default
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTERRORS_H
