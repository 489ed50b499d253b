// SPDX-License-Identifier: Apache-2.0
//
// What each field of a device line must look like. A check tells a text that can be repaired from
// one that cannot by the category of the error that it raises.
//
//     if (!checkName(text)) return std::ErrorStorage::isA(RepairableError) && repair(text);

#ifndef DEVICE_IMPORT_FIELDCHECKS_H
#define DEVICE_IMPORT_FIELDCHECKS_H

#include <cstddef>

#include <common/unicode/String.h>

namespace deviceimport {

/// Bounds of a level, in per cent, and what a line without a level gets.
constexpr int MIN_LEVEL = 0;
constexpr int MAX_LEVEL = 100;
constexpr int DEFAULT_LEVEL = 50;

/// Most bytes of a name and of a location, as they are in UTF-8.
constexpr std::size_t MAX_NAME = 40;
constexpr std::size_t MAX_LOCATION = 32;

/// Characters around a field that do not belong to it.
constexpr const char* BLANKS = " \t";

/// Each check returns true if `text` is a valid field of its kind.
/// Each returns false otherwise, with the start of a new chain raised: a RepairableError if a
/// repair can be named, which brings `text` nearer to a valid field, or a FieldError.
///
/// 36 characters, five groups of lower-case hexadecimal digits with dashes between, not nil.
bool checkUuid(const std::unicode::String& text);
/// 1 to 40 bytes, as the name is in UTF-8, without control characters.
bool checkName(const std::unicode::String& text);
/// FLOOR/ROOM of up to 32 bytes in UTF-8 without control characters.
bool checkLocation(const std::unicode::String& text);
/// A whole number from MIN_LEVEL to MAX_LEVEL. One beyond has a std::CommonError as the cause.
bool checkLevel(const std::unicode::String& text);
/// The same of the number `level`, which was given as `text`.
bool checkLevelRange(int level, const std::unicode::String& text);

/// Returns the number that the whole of `text` is; one that is too large for an int is INT_MAX or
/// INT_MIN. `isNumber` tells whether it is a number at all; if not, the result is 0.
int parseLevel(const std::unicode::String& text, bool& isNumber);

} // namespace deviceimport

#endif // DEVICE_IMPORT_FIELDCHECKS_H
