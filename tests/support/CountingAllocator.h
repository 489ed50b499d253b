// SPDX-License-Identifier: Apache-2.0

#ifndef ZELCOMMON_TESTS_SUPPORT_COUNTINGALLOCATOR_H
#define ZELCOMMON_TESTS_SUPPORT_COUNTINGALLOCATOR_H

#include <atomic>
#include <cstdlib>
#include <string_view>

#include <common/unicode/String.h>

#include "support/Texts.h"

namespace support {

/// Counts the blocks that are given back to it. Any thread.
class CountingAllocator : public std::Buf::Allocator
{
public:
    void free(const std::Ptr& ptr) const override
    {
        ++m_frees;
        std::free(ptr.base);
    }

    int frees() const { return m_frees; }

    /// Returns a text of `bytes` in UTF-8, whose block it alone holds and which comes back here.
    std::unicode::String textWith(std::string_view bytes) const
    {
        std::SharedBuf block = blockWith(bytes);
        block.allocator = this;
        std::unicode::String text(block, std::unicode::UTF8);
        block.unref();
        return text;
    }

private:
    mutable std::atomic<int> m_frees{0};
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_COUNTINGALLOCATOR_H
