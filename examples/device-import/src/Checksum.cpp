// SPDX-License-Identifier: Apache-2.0

#include "Checksum.h"

#include <array>

namespace deviceimport {

namespace {

constexpr std::uint32_t REFLECTED_POLYNOMIAL = 0xEDB88320;
constexpr std::size_t BYTE_VALUES = 256;

/// Returns the rest that each byte leaves.
constexpr std::array<std::uint32_t, BYTE_VALUES> makeRests()
{
    std::array<std::uint32_t, BYTE_VALUES> rests = {};
    for (std::uint32_t byte = 0; byte < BYTE_VALUES; ++byte) {
        std::uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit)
            rest = (rest >> 1) ^ ((rest & 1) != 0 ? REFLECTED_POLYNOMIAL : 0);
        rests[byte] = rest;
    }
    return rests;
}

constexpr std::array<std::uint32_t, BYTE_VALUES> RESTS = makeRests();

} // namespace

void Checksum::add(const void* data, std::size_t size)
{
    const auto* const bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i)
        m_rest = (m_rest >> 8) ^ RESTS[(m_rest ^ bytes[i]) & 0xFF];
}

} // namespace deviceimport
