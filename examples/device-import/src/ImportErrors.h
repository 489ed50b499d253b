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
/// A registry; an ImportError.
extern std::ErrorType RegistryError;

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
    UUID_LISTED,             ///< const char* uuid, const char* earlier list
    FIELD_UNDECODABLE,       ///< const char* field
};

/// Rows of RepairableError, with their values.
enum {
    REPAIR_CARRIAGE_RETURN, ///< none
    REPAIR_OUTER_BLANKS,    ///< const char* field
    REPAIR_UUID_BRACES,     ///< none
    REPAIR_UUID_CAPITALS,   ///< none
    REPAIR_LEVEL_MISSING,   ///< int default
};

/// Rows of RegistryError, with their values.
enum {
    REGISTRY_REJECTED,    ///< const char* file
    REGISTRY_UNREADABLE,  ///< const char* file
    REGISTRY_NOT_WRITTEN, ///< const char* file
    REGISTRY_NO_FILE,     ///< none
    REGISTRY_IN_HEADER,   ///< none
    REGISTRY_IN_RECORD,   ///< unsigned int number from 1, unsigned long long byte
    REGISTRY_IN_TRAILER,  ///< unsigned long long byte
    REGISTRY_NO_MAGIC,    ///< none
    REGISTRY_NUMBER,      ///< const char* field, int found, int expected
    REGISTRY_TOO_MANY,    ///< unsigned int records, unsigned long long bytes of the file
    REGISTRY_PAST_END,    ///< const char* part
    REGISTRY_ORDER,       ///< const char* uuid
    REGISTRY_CHECKSUM,    ///< unsigned int found, unsigned int expected
    REGISTRY_GOES_ON,     ///< none
    REGISTRY_DIFFERS,     ///< none
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_IMPORTERRORS_H
