// SPDX-License-Identifier: Apache-2.0

#include "RegistryFormat.h"

#include <cstddef>

#include "FieldChecks.h"

namespace deviceimport {

namespace {

constexpr unsigned int UUID_BYTES = sizeof(std::UUIDValue);

// Places in a header and in a record.
constexpr unsigned int VERSION_PLACE = REGISTRY_MAGIC_SIZE;
constexpr unsigned int RESERVED_PLACE = VERSION_PLACE + 2;
constexpr unsigned int RECORDS_PLACE = RESERVED_PLACE + 2;
constexpr unsigned int LEVEL_PLACE = UUID_BYTES;
constexpr unsigned int NAME_SIZE_PLACE = LEVEL_PLACE + 1;
constexpr unsigned int LOCATION_SIZE_PLACE = NAME_SIZE_PLACE + 1;

static_assert(RECORDS_PLACE + 4 == REGISTRY_HEADER_SIZE);
static_assert(LOCATION_SIZE_PLACE + 1 == REGISTRY_RECORD_SIZE);
static_assert(MAX_NAME <= REGISTRY_TEXT_SIZE && MAX_LOCATION <= REGISTRY_TEXT_SIZE);
static_assert(MIN_LEVEL >= 0 && MAX_LEVEL <= 255, "a level is one byte");

/// Returns the last `size` bytes of `value`.
std::string bytesOf(std::size_t value, unsigned int size)
{
    std::string bytes(size, '\0');
    for (unsigned int i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(value >> (8 * (size - 1 - i)));
    return bytes;
}

std::uint32_t numberAt(const char* bytes, unsigned int size)
{
    std::uint32_t number = 0;
    for (unsigned int i = 0; i < size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

} // namespace

std::string encodeHeader(std::uint32_t records)
{
    return REGISTRY_MAGIC + bytesOf(REGISTRY_VERSION, 2) + bytesOf(0, 2) + bytesOf(records, 4);
}

std::string encodeRecord(const Device& device)
{
    const std::string name = device.name.toUtf8();
    const std::string location = device.location.toUtf8();
    char uuid[UUID_BYTES];
    device.uuid.copyTo(uuid);
    return std::string(uuid, UUID_BYTES) + bytesOf(static_cast<std::size_t>(device.level), 1) +
           bytesOf(name.size(), 1) + bytesOf(location.size(), 1) + name + location;
}

std::string encodeTrailer(std::uint32_t checksum)
{
    return bytesOf(checksum, REGISTRY_TRAILER_SIZE);
}

RegistryHeader decodeHeader(const char* bytes)
{
    return {static_cast<int>(numberAt(bytes + VERSION_PLACE, 2)),
            static_cast<int>(numberAt(bytes + RESERVED_PLACE, 2)),
            numberAt(bytes + RECORDS_PLACE, 4)};
}

RegistryRecord decodeRecord(const char* bytes)
{
    std::UUID uuid;
    uuid.copyFrom(bytes);
    return {uuid, static_cast<int>(numberAt(bytes + LEVEL_PLACE, 1)),
            numberAt(bytes + NAME_SIZE_PLACE, 1), numberAt(bytes + LOCATION_SIZE_PLACE, 1)};
}

std::uint32_t decodeTrailer(const char* bytes)
{
    return numberAt(bytes, REGISTRY_TRAILER_SIZE);
}

} // namespace deviceimport
