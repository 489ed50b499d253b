// SPDX-License-Identifier: Apache-2.0

#ifndef ZELCOMMON_TESTS_SUPPORT_BLOCKCOUNTER_H
#define ZELCOMMON_TESTS_SUPPORT_BLOCKCOUNTER_H

#include <cstdint>
#include <cstring>

#include <common/buffers.h>

namespace support {

/// Returns the number of holders of the block of `buffer`, which must have one. Not while other
/// threads change it.
inline unsigned int holders(const std::SharedBuf& buffer)
{
    std::uint32_t count = 0;
    std::memcpy(&count, buffer.data, sizeof count);
    return count;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_BLOCKCOUNTER_H
