// SPDX-License-Identifier: Apache-2.0
//
// The array forms of new and delete of the whole program, in place of the system's: memory can run
// out, also under the sanitizers, calls are counted, and a new block is full of 0xA5. For programs
// that are linked with ArrayMemory.cpp.
//
//     support::arrayMemory.isExhausted = true;
//     const std::BinBuffer buffer(input);
//     support::arrayMemory.isExhausted = false;

#ifndef ZELCOMMON_TESTS_SUPPORT_ARRAYMEMORY_H
#define ZELCOMMON_TESTS_SUPPORT_ARRAYMEMORY_H

// The thread sanitizer's own allocator cannot be replaced.
#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define SUPPORT_FIXED_ARRAY_MEMORY
#endif
#endif

namespace support {

/// For one thread at a time.
struct ArrayMemory
{
    bool isExhausted = false;
    int allocations = 0;
    int releases = 0;
};
extern ArrayMemory arrayMemory;

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_ARRAYMEMORY_H
