// SPDX-License-Identifier: Apache-2.0

#include "support/FailingMalloc.h"

#include <atomic>
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

std::atomic<int> s_held{0};

// Of all threads but one, for which the last is true.
std::atomic<int> s_callsElsewhere{0};
std::atomic<int> s_firstElsewhere{0};
std::atomic<int> s_endElsewhere{0};
thread_local bool t_isSpared = false;

/// What fails so often is asked for without end.
constexpr int MOST_FAILED = 100000;
std::atomic<int> s_failed{0};

/// Counts an attempt. Returns true if it is to fail, with `errno` set as the C library does.
bool refused()
{
    const int number = t_calls.allocations++;
    bool isFailing = number >= t_firstFailing && number < t_endOfFailing;
    if (!t_isSpared) {
        const int elsewhere = s_callsElsewhere++;
        isFailing = isFailing || (elsewhere >= s_firstElsewhere && elsewhere < s_endElsewhere);
    }
    if (!isFailing) return false;
    if (++s_failed > MOST_FAILED) std::abort();
    errno = ENOMEM;
    return true;
}

/// Counts `block`, unless it is null.
void* counted(void* block)
{
    if (block != nullptr) ++s_held;
    return block;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept
{
    return refused() ? nullptr : counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    return refused() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept
{
    if (refused()) return nullptr;
    void* const resized = __libc_realloc(block, size);
    if (block != nullptr && size == 0) --s_held;
    return block == nullptr ? counted(resized) : resized;
}

void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return refused() ? nullptr : counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return refused() ? nullptr : counted(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
{
    void* const aligned = refused() ? nullptr : counted(__libc_memalign(alignment, size));
    if (aligned == nullptr) return ENOMEM;
    *block = aligned;
    return 0;
}

void free(void* block) noexcept
{
    if (block != nullptr) {
        ++t_calls.releases;
        --s_held;
    }
    __libc_free(block);
}

} // extern "C"

namespace support {

AllocatorCalls allocatorCalls()
{
    return t_calls;
}

int heldBlocks()
{
    return s_held;
}

FailingMalloc::FailingMalloc() : FailingMalloc(0, std::numeric_limits<int>::max() / 2) {}

FailingMalloc::FailingMalloc(int passing, int count) : m_callsBefore(t_calls.allocations)
{
    s_failed = 0;
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

FailingMallocElsewhere::FailingMallocElsewhere(int passing, int count)
{
    s_failed = 0;
    t_isSpared = true;
    s_callsElsewhere = 0;
    s_firstElsewhere = passing;
    s_endElsewhere = passing + count;
}

FailingMallocElsewhere::~FailingMallocElsewhere()
{
    s_endElsewhere = 0;
    t_isSpared = false;
}

int FailingMallocElsewhere::calls() const
{
    return s_callsElsewhere;
}

} // namespace support
