// SPDX-License-Identifier: Apache-2.0
//
// The bytes of a registry, a file of devices in ascending order of their uuids. Numbers are
// big-endian.
//
//     header    4 "DREG", 2 version, 2 zero, 4 number of records
//     record    16 uuid in network order, 1 level, 1 bytes of the name, 1 bytes of the location,
//               the name and the location in UTF-8
//     trailer   4 checksum of all before

#ifndef DEVICE_IMPORT_REGISTRYFORMAT_H
#define DEVICE_IMPORT_REGISTRYFORMAT_H

#include <cstdint>
#include <string>

#include <common/UUID.h>

#include "DeviceLine.h"

namespace deviceimport {

constexpr unsigned int REGISTRY_MAGIC_SIZE = 4;
constexpr char REGISTRY_MAGIC[REGISTRY_MAGIC_SIZE + 1] = "DREG";
constexpr int REGISTRY_VERSION = 1;

/// Bytes of the parts; that of a record is without its name and location.
constexpr unsigned int REGISTRY_HEADER_SIZE = REGISTRY_MAGIC_SIZE + 2 + 2 + 4;
constexpr unsigned int REGISTRY_RECORD_SIZE = 16 + 1 + 1 + 1;
constexpr unsigned int REGISTRY_TRAILER_SIZE = 4;
/// Most bytes of a name or a location that a record can tell.
constexpr unsigned int REGISTRY_TEXT_SIZE = 255;

/// A header as it is in a file, but for the magic.
struct RegistryHeader
{
    int version;
    int reserved;
    std::uint32_t records;
};

/// The first part of a record as it is in a file.
struct RegistryRecord
{
    std::UUID uuid;
    int level;
    unsigned int nameSize;
    unsigned int locationSize;
};

/// Return the bytes of a header before `records` records, of the record of `device`, which has
/// passed the checks of its fields, and of a trailer.
std::string encodeHeader(std::uint32_t records);
std::string encodeRecord(const Device& device);
std::string encodeTrailer(std::uint32_t checksum);

/// Return what the REGISTRY_HEADER_SIZE, REGISTRY_RECORD_SIZE or REGISTRY_TRAILER_SIZE bytes of a
/// part mean. Whether that makes sense is not looked at.
RegistryHeader decodeHeader(const char* bytes);
RegistryRecord decodeRecord(const char* bytes);
std::uint32_t decodeTrailer(const char* bytes);

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRYFORMAT_H
