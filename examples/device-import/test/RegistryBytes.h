// SPDX-License-Identifier: Apache-2.0
//
// Small registries as bytes, and the reader at work on any bytes.

#ifndef DEVICE_IMPORT_TEST_REGISTRYBYTES_H
#define DEVICE_IMPORT_TEST_REGISTRYBYTES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <zelposix/MemoryInputStream.h>

#include "../src/Checksum.h"
#include "../src/RegistryFormat.h"
#include "../src/RegistryReader.h"

namespace registrytest {

/// Bytes with zeros in them.
template <unsigned int SIZE>
std::string bytes(const char (&text)[SIZE])
{
    return std::string(text, SIZE - 1);
}

/// The header, the records of two devices and the checksum.
inline std::string soundBytes()
{
    return bytes("DREG\x00\x01\x00\x00\x00\x00\x00\x02"
                 "\x12\x3E\x45\x67\xE8\x9B\x12\xD3\xA4\x56\x42\x66\x14\x17\x40\x00"
                 "\x32\x08\x06"
                 "Fan coil"
                 "1F/101"
                 "\x12\x3E\x45\x67\xE8\x9B\x12\xD3\xA4\x56\x42\x66\x14\x17\x40\x01"
                 "\x00\x05\x08"
                 "B\xC3\xBCro"
                 "GF/\xE2\x82\xAC\xC3\xA4"
                 "\xA4\x32\x84\xFB");
}

inline std::vector<deviceimport::Device> soundDevices()
{
    return {{std::UUID("123e4567-e89b-12d3-a456-426614174000"), "Fan coil", "1F/101", 50},
            {std::UUID("123e4567-e89b-12d3-a456-426614174001"), "B\xC3\xBCro",
             "GF/\xE2\x82\xAC\xC3\xA4", 0}};
}

/// Returns `text` with its right checksum behind it.
inline std::string summed(const std::string& text)
{
    deviceimport::Checksum checksum;
    checksum.add(text.data(), text.size());
    return text + deviceimport::encodeTrailer(checksum.value());
}

/// Returns the chain of the calling thread's errors, newest first, and acknowledges it.
inline std::string takeChain()
{
    std::string chain;
    for (const std::ErrorObject* error = std::ErrorStorage::get();
         error != nullptr && error->m_type != nullptr; error = error->m_cause)
        chain += (chain.empty() ? "" : " <- ") + std::string(error->reason());
    std::ErrorStorage::ack();
    return chain;
}

/// Reads `text`, of which the reader knows the size or not. Returns "sound", or what is wrong.
inline std::string verdict(const std::string& text, bool sizeIsKnown = true)
{
    zel::MemoryInputStream input(text.data(), static_cast<unsigned int>(text.size()));
    std::optional<std::uint64_t> size;
    if (sizeIsKnown) size = text.size();
    std::vector<deviceimport::Device> devices;
    if (deviceimport::RegistryReader(input, size).read(devices)) return "sound";
    return takeChain();
}

} // namespace registrytest

#endif // DEVICE_IMPORT_TEST_REGISTRYBYTES_H
