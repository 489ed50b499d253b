// SPDX-License-Identifier: Apache-2.0

#include "support/FailingMalloc.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>

#include <malloc.h>

extern "C" {

// The C library's own allocator, under the names by which replacements reach it.
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* block) noexcept;

} // extern "C"

namespace {

// Of the calling thread; in the program's static thread data, so that nothing is allocated for
// them.
thread_local support::AllocatorCalls t_calls;
// The attempts that fail, by their numbers: from the first to before the second.
thread_local int t_firstFailing = 0;
thread_local int t_endOfFailing = 0;

/// Counts an attempt. Returns true if it is to fail, with `errno` set as the C library does.
bool refused()
{
    const int number = t_calls.allocations++;
    const bool isFailing = number >= t_firstFailing && number < t_endOfFailing;
    if (isFailing) errno = ENOMEM;
    return isFailing;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept
{
    return refused() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    return refused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept
{
    return refused() ? nullptr : __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return refused() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return refused() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
{
    void* const aligned = refused() ? nullptr : __libc_memalign(alignment, size);
    if (aligned == nullptr) return ENOMEM;
    *block = aligned;
    return 0;
}

void free(void* block) noexcept
{
    if (block != nullptr) ++t_calls.releases;
    __libc_free(block);
}

} // extern "C"

namespace support {

AllocatorCalls allocatorCalls()
{
    return t_calls;
}

FailingMalloc::FailingMalloc() : FailingMalloc(0, std::numeric_limits<int>::max() / 2) {}

FailingMalloc::FailingMalloc(int passing, int count) : m_callsBefore(t_calls.allocations)
{
    t_firstFailing = m_callsBefore + passing;
    t_endOfFailing = t_firstFailing + count;
}

FailingMalloc::~FailingMalloc()
{
    t_endOfFailing = t_firstFailing;
}

int FailingMalloc::calls() const
{
    return t_calls.allocations - m_callsBefore;
}

} // namespace support
