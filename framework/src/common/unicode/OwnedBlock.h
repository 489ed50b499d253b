// SPDX-License-Identifier: Apache-2.0
//
// The owner of a block that no text holds yet.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_OWNEDBLOCK_H
#define ZELCOMMON_SRC_COMMON_UNICODE_OWNEDBLOCK_H

#include <utility>

#include <common/buffers.h>

namespace textcore {

/// Holds a reference, and gives it up unless it is released.
class OwnedBlock
{
public:
    explicit OwnedBlock(std::SharedBuf&& block) : m_block(std::move(block)) {}
    /// A fresh block.
    explicit OwnedBlock(unsigned int payloadSize) : m_block(payloadSize) {}
    ~OwnedBlock() { m_block.unref(); }
    OwnedBlock(OwnedBlock&&) = default;
    OwnedBlock(const OwnedBlock&) = delete;
    OwnedBlock& operator=(const OwnedBlock&) = delete;

    bool isNull() const { return m_block.data == nullptr; }
    unsigned char* payload() const { return m_block.payload(); }

    /// Returns another holder of the block, whose payload starts `n` bytes later.
    std::SharedBuf view(unsigned int n) const { return m_block + n; }

    /// Hands the reference over.
    std::SharedBuf release() { return std::move(m_block); }

private:
    std::SharedBuf m_block;
};

/// Returns a block of `payloadSize` bytes. Ends the process by a memory fault if there is no
/// memory, or if the size with the header leaves 32 bits.
[[nodiscard]] OwnedBlock blockOf(unsigned long long payloadSize);

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_OWNEDBLOCK_H
