// SPDX-License-Identifier: Apache-2.0

#include "ImportErrors.h"

#include <iterator>

namespace deviceimport {

namespace {

constexpr std::ErrorID IMPORT_TABLE[] = {
    {IMPORT_SYSTEM_CALL, "%s: %s", 2},
    {IMPORT_PROVOKED, "Trouble was asked for", 0},
    {IMPORT_STALLED, "no device list came to its end within %d ms", 1},
};

constexpr std::ErrorID LIST_TABLE[] = {
    {LIST_REJECTED, "device list %s rejected", 1},
    {LIST_UNREADABLE, "device list %s could not be read", 1},
};

constexpr std::ErrorID LINE_TABLE[] = {
    {LINE_REJECTED, "line %d", 1},
    {LINE_TOO_FEW_FIELDS, "too few fields: %d, expected at least %d", 2},
    {LINE_TOO_MANY_FIELDS, "too many fields: %d, expected at most %d", 2},
    {LINE_TOO_LONG, "line of more than %d bytes", 1},
    {LINE_ENDLESS, "line %d has no end within %d bytes", 2},
    {LINE_UNDECODABLE, "column %d is undecodable: %s in %s", 3},
};

constexpr std::ErrorID FIELD_TABLE[] = {
    {FIELD_EMPTY, "%s is empty", 1},
    {FIELD_TOO_LONG, "%s has %d bytes, at most %d are allowed", 3},
    {FIELD_CONTROL_CHARACTER, "%s holds the control character 0x%02X", 2},
    {UUID_LENGTH, "uuid has %d characters, expected %d", 2},
    {UUID_DASH, "uuid '%s' has no dash at position %d", 2},
    {UUID_DIGIT, "uuid '%s' has no hexadecimal digit at position %d", 2},
    {UUID_NIL, "uuid is nil", 0},
    {UUID_USED, "uuid '%s' is used in line %d already", 2},
    {LOCATION_SHAPE, "location '%s' is not of the form FLOOR/ROOM", 1},
    {LOCATION_FLOOR, "floor '%s' is not made of one to three capital letters and digits", 1},
    {LEVEL_NOT_A_NUMBER, "level '%s' is not a whole number", 1},
    {LEVEL_RANGE, "level '%s' is not allowed", 1},
    {UUID_LISTED, "uuid '%s' is used in list %s already", 2},
    {FIELD_UNDECODABLE, "%s is not in UTF-8", 1},
};

constexpr std::ErrorID REPAIRABLE_TABLE[] = {
    {REPAIR_CARRIAGE_RETURN, "line ends with a carriage return", 0},
    {REPAIR_OUTER_BLANKS, "%s is surrounded by blanks", 1},
    {REPAIR_UUID_BRACES, "uuid stands in braces", 0},
    {REPAIR_UUID_CAPITALS, "uuid has capital digits", 0},
    {REPAIR_LEVEL_MISSING, "level is missing, taken as %d", 1},
};

constexpr std::ErrorID REGISTRY_TABLE[] = {
    {REGISTRY_REJECTED, "registry %s rejected", 1},
    {REGISTRY_UNREADABLE, "registry %s could not be read", 1},
    {REGISTRY_NOT_WRITTEN, "registry %s could not be written", 1},
    {REGISTRY_NO_FILE, "what has that name is no regular file", 0},
    {REGISTRY_IN_HEADER, "header at byte 0", 0},
    {REGISTRY_IN_RECORD, "record %u at byte %llu", 2},
    {REGISTRY_IN_TRAILER, "checksum at byte %llu", 1},
    {REGISTRY_NO_MAGIC, "the file does not begin with DREG", 0},
    {REGISTRY_NUMBER, "%s is %d, expected %d", 3},
    {REGISTRY_TOO_MANY, "%u records do not fit into a file of %llu bytes", 2},
    {REGISTRY_PAST_END, "%s runs past the end", 1},
    {REGISTRY_ORDER, "uuid '%s' is not greater than the one before", 1},
    {REGISTRY_CHECKSUM, "checksum is %08X, expected %08X", 2},
    {REGISTRY_GOES_ON, "the file goes on behind the checksum", 0},
    {REGISTRY_DIFFERS, "the devices are not those that were written", 0},
};

} // namespace

std::ErrorType ImportError(IMPORT_TABLE, std::size(IMPORT_TABLE));
std::ErrorType ListError(LIST_TABLE, std::size(LIST_TABLE), ImportError);
std::ErrorType LineError(LINE_TABLE, std::size(LINE_TABLE), ImportError);
std::ErrorType FieldError(FIELD_TABLE, std::size(FIELD_TABLE), ImportError);
std::ErrorType RepairableError(REPAIRABLE_TABLE, std::size(REPAIRABLE_TABLE), FieldError);
std::ErrorType RegistryError(REGISTRY_TABLE, std::size(REGISTRY_TABLE), ImportError);

} // namespace deviceimport
