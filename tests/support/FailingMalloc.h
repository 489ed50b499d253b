// SPDX-License-Identifier: Apache-2.0
//
// Replaces the allocator of the test program: counts what the calling thread asks of it, and fails
// all of that on request. Whoever attempts again and again meanwhile ends by SIGABRT. Not for
// programs under a sanitizer, which brings an allocator of its own.
//
//     support::FailingMalloc exhausted;
//     raise();
//     EXPECT_EQ(0, exhausted.calls());

#ifndef ZELCOMMON_TESTS_SUPPORT_FAILINGMALLOC_H
#define ZELCOMMON_TESTS_SUPPORT_FAILINGMALLOC_H

namespace support {

/// What one thread has asked of the allocator so far.
struct AllocatorCalls
{
    /// Attempts to allocate or to resize, the failed ones included.
    int allocations = 0;
    /// Releases of a block; that of null does not count.
    int releases = 0;
};

/// Returns the calls of the calling thread.
AllocatorCalls allocatorCalls();

/// Returns how many blocks the process holds, of all threads.
int heldBlocks();

/// While it exists, attempts of the calling thread to allocate fail. Not to be nested.
class FailingMalloc
{
public:
    /// All of them.
    FailingMalloc();
    /// `count` of them, after `passing` that do not.
    FailingMalloc(int passing, int count);
    ~FailingMalloc();
    FailingMalloc(const FailingMalloc&) = delete;
    FailingMalloc& operator=(const FailingMalloc&) = delete;

    /// Returns how often the calling thread has attempted to allocate since the construction.
    int calls() const;

private:
    int m_callsBefore;
};

/// While it exists, attempts of all other threads to allocate fail, as above. Not to be nested.
class FailingMallocElsewhere
{
public:
    FailingMallocElsewhere(int passing, int count);
    ~FailingMallocElsewhere();
    FailingMallocElsewhere(const FailingMallocElsewhere&) = delete;
    FailingMallocElsewhere& operator=(const FailingMallocElsewhere&) = delete;

    /// Returns how often the other threads have attempted to allocate since the construction.
    int calls() const;
};

/// Runs `body` while every allocation of the thread fails. Returns how many it attempted.
template <typename Body>
int attemptsOf(const Body& body)
{
    const FailingMalloc exhausted;
    body();
    return exhausted.calls();
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FAILINGMALLOC_H
