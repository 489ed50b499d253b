// SPDX-License-Identifier: Apache-2.0

#include "RegistryReader.h"

#include <cstring>
#include <string_view>
#include <utility>

#include <common/error/ErrorStorage.h>
#include <zel/report.h>
#include <zelposix/PosixError.h>

#include "FieldChecks.h"
#include "FileEncoding.h"
#include "ImportErrors.h"
#include "RegistryFormat.h"

namespace deviceimport {

namespace {

using std::unicode::String;

/// What a message takes as "%llu".
using Place = unsigned long long;

bool checkNumber(const char* field, int value, int expected)
{
    if (value == expected) return true;
    ZEL_RAISE(RegistryError, REGISTRY_NUMBER, field, value, expected);
    return false;
}

bool checkUuidValue(const std::UUID& uuid, const Device* previous)
{
    if (uuid == std::UUID::nil()) {
        ZEL_RAISE(FieldError, UUID_NIL);
        return false;
    }
    if (previous == nullptr || previous->uuid < uuid) return true;
    ZEL_RAISE(RegistryError, REGISTRY_ORDER, uuid.toString().c_str());
    return false;
}

} // namespace

RegistryReader::RegistryReader(std::IBinInputStream& input, std::optional<std::uint64_t> size)
    : m_input(input), m_size(size)
{}

bool RegistryReader::read(std::vector<Device>& devices)
{
    std::uint32_t records = 0;
    if (!readHeader(records)) {
        ZEL_RAISE_ON(RegistryError, REGISTRY_IN_HEADER);
        return false;
    }
    for (std::uint32_t number = 0; number < records; ++number) {
        const Place begin = m_place;
        Device device;
        if (!readRecord(device, number == 0 ? nullptr : &devices.back())) {
            ZEL_RAISE_ON(RegistryError, REGISTRY_IN_RECORD, number + 1, begin);
            return false;
        }
        devices.push_back(std::move(device));
    }
    const Place begin = m_place;
    if (readTrailer()) return true;
    ZEL_RAISE_ON(RegistryError, REGISTRY_IN_TRAILER, begin);
    return false;
}

/// Reads all of `bytes[0..size)`, a part of the file that is called `what`.
bool RegistryReader::take(char* bytes, unsigned int size, const char* what)
{
    for (unsigned int done = 0; done < size;) {
        unsigned int got = 0;
        const char status = m_input.read(bytes + done, size - done, got);
        done += got;
        if (status == 1) continue;
        if (status != 0 && !zel::isEndOfStream()) return false;
        std::ErrorStorage::ack();
        ZEL_RAISE(RegistryError, REGISTRY_PAST_END, what);
        return false;
    }
    m_checksum.add(bytes, size);
    m_place += size;
    return true;
}

/// Returns false with an error raised if there is one more byte, or a failure.
bool RegistryReader::isAtEnd()
{
    char byte = 0;
    unsigned int got = 0;
    const char status = m_input.read(&byte, 1, got);
    if (status == 1) {
        ZEL_RAISE(RegistryError, REGISTRY_GOES_ON);
        return false;
    }
    if (status != 0 && !zel::isEndOfStream()) return false;
    std::ErrorStorage::ack();
    return true;
}

bool RegistryReader::readHeader(std::uint32_t& records)
{
    char bytes[REGISTRY_HEADER_SIZE];
    if (!take(bytes, sizeof(bytes), "header")) return false;
    if (std::memcmp(bytes, REGISTRY_MAGIC, REGISTRY_MAGIC_SIZE) != 0) {
        ZEL_RAISE(RegistryError, REGISTRY_NO_MAGIC);
        return false;
    }
    const RegistryHeader header = decodeHeader(bytes);
    records = header.records;
    return checkNumber("version", header.version, REGISTRY_VERSION) &&
           checkNumber("reserved field", header.reserved, 0) && checkFit(header.records);
}

bool RegistryReader::checkFit(std::uint32_t records) const
{
    constexpr unsigned int frame = REGISTRY_HEADER_SIZE + REGISTRY_TRAILER_SIZE;
    if (!m_size || *m_size < frame) return true; // what is missing is found missing
    if (records <= (*m_size - frame) / REGISTRY_RECORD_SIZE) return true;
    ZEL_RAISE(RegistryError, REGISTRY_TOO_MANY, records, static_cast<Place>(*m_size));
    return false;
}

bool RegistryReader::readRecord(Device& device, const Device* previous)
{
    char bytes[REGISTRY_RECORD_SIZE];
    if (!take(bytes, sizeof(bytes), "record")) return false;
    const RegistryRecord record = decodeRecord(bytes);
    device.uuid = record.uuid;
    device.level = record.level;
    return checkUuidValue(record.uuid, previous) &&
           checkLevelRange(record.level, std::to_string(record.level)) &&
           readText(record.nameSize, "name", checkName, device.name) &&
           readText(record.locationSize, "location", checkLocation, device.location);
}

bool RegistryReader::readText(unsigned int size, const char* what, Check check, String& text)
{
    char bytes[REGISTRY_TEXT_SIZE];
    if (!take(bytes, size, what)) return false;
    text = String::fromUtf8(std::string_view(bytes, size));
    if (checkDecodable(text)) return check(text);
    ZEL_RAISE_ON(FieldError, FIELD_UNDECODABLE, what);
    return false;
}

bool RegistryReader::readTrailer()
{
    const std::uint32_t expected = m_checksum.value();
    char bytes[REGISTRY_TRAILER_SIZE];
    if (!take(bytes, sizeof(bytes), "checksum")) return false;
    const std::uint32_t found = decodeTrailer(bytes);
    if (found == expected) return isAtEnd();
    ZEL_RAISE(RegistryError, REGISTRY_CHECKSUM, found, expected);
    return false;
}

} // namespace deviceimport
