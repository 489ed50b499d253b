// SPDX-License-Identifier: Apache-2.0

#include "OwnedBlock.h"

#include <algorithm>
#include <climits>

#include <zel/attributes.h>

namespace textcore {

namespace {

constexpr unsigned long long MOST = UINT_MAX;

/// Kept: a text without memory dies where its block would have been, by a store to address 0. Both
/// are volatile: a compiler that knows the address drops a plain store.
ZEL_COLD __attribute__((no_sanitize("undefined"))) void storeNowhere()
{
    volatile unsigned char* volatile nowhere = nullptr;
    *nowhere = 0; // NOLINT(clang-analyzer-core.NullDereference): that is what it is for
}

} // namespace

OwnedBlock blockOf(unsigned long long payloadSize)
{
    // The largest has no room either, with its header.
    OwnedBlock block(static_cast<unsigned int>(std::min(payloadSize, MOST)));
    if (block.isNull()) storeNowhere();
    return block;
}

} // namespace textcore
