// SPDX-License-Identifier: Apache-2.0

#include <common/buffers.h>

#include <climits>
#include <cstdlib>

#include "../zelbase/NeverDestroyed.h"
#include "../zelbase/constantInit.h"

namespace std {

Ptr::Allocator::~Allocator() = default;
Buf::Allocator::~Allocator() = default;

void Buf::Allocator::free(const Ptr& ptr) const
{
    if (ptr.allocator != nullptr && ptr.base != nullptr) std::free(ptr.base);
}

Buf Buf::Allocator::malloc(unsigned int requested) const
{
    Buf buf;
    buf.data = buf.base = static_cast<unsigned char*>(std::malloc(requested));
    buf.allocator = this;
    buf.size = requested;
    return buf;
}

} // namespace std

// Texts of exit handlers still need the default allocator, so users see an alias of an object that
// is never destroyed. The alias of a static member has to spell its symbol.
extern "C" {
ZEL_LOCAL extern const zelbase::NeverDestroyed<std::Buf::Allocator> zelcommon_default_allocator;
ZELCOMMON_CONSTANT_INIT const zelbase::NeverDestroyed<std::Buf::Allocator>
    zelcommon_default_allocator;
}

namespace std {

ZEL_EXPORT extern const Buf::Allocator s_defaultAllocator __asm__("_ZNSt3Buf17DEFAULT_ALLOCATORE")
    __attribute__((alias("zelcommon_default_allocator")));

Buf::Buf(unsigned int requested, const Allocator& from) : Buf(from.malloc(requested))
{
    size = data != nullptr ? requested : 0;
}

SharedBuf::SharedBuf(unsigned int payloadSize)
{
    if (payloadSize > UINT_MAX - HEADER_SIZE) return;
    const Buf block(payloadSize + HEADER_SIZE, DEFAULT_ALLOCATOR);
    if (block.data == nullptr) return;
    data = block.data;
    allocator = block.allocator;
    base = block.base;
    size = block.size;
    offset = HEADER_SIZE;
    __atomic_store_n(counter(), 1U, __ATOMIC_SEQ_CST);
}

void SharedBuf::release() const
{
    if (allocator != nullptr) allocator->free(*this);
}

} // namespace std
