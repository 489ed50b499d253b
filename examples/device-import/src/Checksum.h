// SPDX-License-Identifier: Apache-2.0
//
// The checksum of a registry: CRC-32 with the polynomial 0x04C11DB7, reflected, as in IEEE 802.3.
//
//     Checksum checksum;
//     checksum.add("123456789", 9);
//     checksum.value() == 0xCBF43926

#ifndef DEVICE_IMPORT_CHECKSUM_H
#define DEVICE_IMPORT_CHECKSUM_H

#include <cstddef>
#include <cstdint>

namespace deviceimport {

/// Sums bytes up as they come. A plain value.
class Checksum
{
public:
    /// Takes in `data[0..size)`.
    void add(const void* data, std::size_t size);

    /// Returns the checksum of all bytes so far; 0 of none.
    std::uint32_t value() const { return ~m_rest; }

private:
    /// The rest of the division, inverted.
    std::uint32_t m_rest = 0xFFFFFFFF;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_CHECKSUM_H
