// SPDX-License-Identifier: Apache-2.0
//
// Reads a registry from a binary stream and believes none of its bytes: what comes out has passed
// every check that the lines of a list have to pass.
//
//     RegistryReader reader(input, size);
//     if (!reader.read(devices)) return false;

#ifndef DEVICE_IMPORT_REGISTRYREADER_H
#define DEVICE_IMPORT_REGISTRYREADER_H

#include <cstdint>
#include <optional>
#include <vector>

#include <common/IBinInputStream.h>
#include <common/unicode/String.h>

#include "Checksum.h"
#include "DeviceLine.h"

namespace deviceimport {

/// One pass over a registry. Takes memory for the records that are there, never for those that are
/// announced. Not thread-safe.
class RegistryReader
{
public:
    /// Over `input`, which is not owned and must outlive this object. `size` is the number of bytes
    /// that it gives, if that is known.
    RegistryReader(std::IBinInputStream& input, std::optional<std::uint64_t> size);

    /// Adds the devices to `devices`, with texts in UTF-8. Call once.
    /// Returns false if anything is wrong, with a chain raised: a RegistryError REGISTRY_IN_HEADER,
    /// REGISTRY_IN_RECORD or REGISTRY_IN_TRAILER that tells the place, caused by what is wrong
    /// there, a failure of the stream included. The devices before that place are in `devices`.
    bool read(std::vector<Device>& devices);

    /// Returns how many bytes were read.
    std::uint64_t place() const { return m_place; }

private:
    using Check = bool (*)(const std::unicode::String&);

    bool take(char* bytes, unsigned int size, const char* what);
    bool isAtEnd();
    bool readHeader(std::uint32_t& records);
    bool checkFit(std::uint32_t records) const;
    bool readRecord(Device& device, const Device* previous);
    bool readText(unsigned int size, const char* what, Check check, std::unicode::String& text);
    bool readTrailer();

    std::IBinInputStream& m_input;
    const std::optional<std::uint64_t> m_size;
    Checksum m_checksum;
    std::uint64_t m_place = 0;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_REGISTRYREADER_H
