// SPDX-License-Identifier: Apache-2.0

#include "RegistryWriter.h"

#include <cstdint>
#include <string>

#include "Checksum.h"
#include "RegistryFormat.h"

namespace deviceimport {

namespace {

bool writeAll(const std::string& bytes, std::IBinOutputStream& output)
{
    const auto size = static_cast<unsigned int>(bytes.size());
    for (unsigned int done = 0; done < size;) {
        unsigned int written = 0;
        if (output.write(bytes.data() + done, size - done, written) != 1) return false;
        done += written;
    }
    return true;
}

bool writeSummed(const std::string& bytes, Checksum& checksum, std::IBinOutputStream& output)
{
    checksum.add(bytes.data(), bytes.size());
    return writeAll(bytes, output);
}

} // namespace

bool writeRegistry(const std::vector<Device>& devices, std::IBinOutputStream& output)
{
    Checksum checksum;
    const std::string header = encodeHeader(static_cast<std::uint32_t>(devices.size()));
    if (!writeSummed(header, checksum, output)) return false;
    for (const Device& device : devices) {
        if (!writeSummed(encodeRecord(device), checksum, output)) return false;
    }
    return writeAll(encodeTrailer(checksum.value()), output);
}

} // namespace deviceimport
