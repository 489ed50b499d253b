// SPDX-License-Identifier: Apache-2.0
//
// A text of which it is known whether it was released by array delete. Replaces array new and array
// delete of the program, so it is for one source of a test. The thread sanitizer keeps those to
// itself; with it, every form of release counts.
//
//     support::WatchedText text("up");
//     client.logMessage(channel, 2, 0, text.get(), true);
//     EXPECT_EQ(1, text.releases());

#ifndef ZELCOMMON_TESTS_SUPPORT_WATCHEDTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_WATCHEDTEXT_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace support {

/// A text made by array new. What was released once is not to be released again, which ends the
/// process. One at a time; not thread-safe.
class WatchedText
{
public:
    explicit WatchedText(const char* text) : m_text(new char[std::strlen(text) + 1])
    {
        std::strcpy(m_text, text);
        s_releases = 0;
        s_watched = m_text;
    }
    ~WatchedText()
    {
        s_watched = nullptr;
        // NOLINTNEXTLINE(clang-analyzer-unix.MismatchedDeallocator): the operators below
        if (s_releases == 0) delete[] m_text;
    }
    WatchedText(const WatchedText&) = delete;
    WatchedText& operator=(const WatchedText&) = delete;

    char* get() { return m_text; }
    int releases() const { return s_releases; }

    /// Counts the release of `block` if that is the watched text. Its memory may be of use to
    /// others from then on.
    static void countRelease(const void* block)
    {
        if (block == nullptr || block != s_watched) return;
        ++s_releases;
        s_watched = nullptr;
    }

private:
    static inline const void* s_watched = nullptr;
    static inline int s_releases = 0;

    char* m_text;
};

} // namespace support

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SUPPORT_FIXED_OPERATORS
#endif
#endif

#ifdef SUPPORT_FIXED_OPERATORS

extern "C" void __sanitizer_free_hook(const volatile void* block)
{
    support::WatchedText::countRelease(const_cast<const void*>(block));
}

#else

void* operator new[](std::size_t size)
{
    void* const block = std::malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete[](void* block) noexcept
{
    support::WatchedText::countRelease(block);
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    operator delete[](block);
}

#endif

#endif // ZELCOMMON_TESTS_SUPPORT_WATCHEDTEXT_H
