// SPDX-License-Identifier: Apache-2.0

#include "support/ArrayMemory.h"

#include <cstdlib>
#include <cstring>
#include <new>

support::ArrayMemory support::arrayMemory;

#ifndef SUPPORT_FIXED_ARRAY_MEMORY

namespace {

using support::arrayMemory;

void* allocate(std::size_t size)
{
    if (arrayMemory.isExhausted) return nullptr;
    void* const block = std::malloc(size);
    if (block == nullptr) return nullptr;
    std::memset(block, 0xA5, size);
    ++arrayMemory.allocations;
    return block;
}

void release(void* block)
{
    if (block == nullptr) return;
    ++arrayMemory.releases;
    std::free(block);
}

} // namespace

void* operator new[](std::size_t size)
{
    void* const block = allocate(size);
    if (block == nullptr) std::abort();
    return block;
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void operator delete[](void* block) noexcept
{
    release(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
    release(block);
}

#endif
