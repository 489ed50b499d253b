// SPDX-License-Identifier: Apache-2.0
//
// How far a call looks for a result that is near: if it went to the end of the text each time, work
// on all of a text, piece by piece, would be quadratic.

#include <common/unicode/String.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>

#include "support/GuardedBytes.h"

namespace {

using std::SharedBuf;
using std::unicode::Codec;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16LE;
using std::unicode::UTF8;

/// A long text that begins with certain bytes. From its middle on it can be made inaccessible, so
/// that who looks there dies.
class LongTail
{
public:
    explicit LongTail(const std::string& beginning, char rest = 'a')
    {
        m_buffer.size = 2 * HALF;
        m_buffer.offset = SharedBuf::HEADER_SIZE;
        m_buffer.data = static_cast<unsigned char*>(mmap(
            nullptr, m_buffer.size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        std::memset(data(), rest, size());
        std::memcpy(data(), beginning.data(), beginning.size());
    }
    ~LongTail() { munmap(m_buffer.data, m_buffer.size); }
    LongTail(const LongTail&) = delete;
    LongTail& operator=(const LongTail&) = delete;

    unsigned char* data() const { return m_buffer.payload(); }
    unsigned int size() const { return m_buffer.length(); }
    String text() const { return String(m_buffer, UTF8); }
    void hide() const { ASSERT_EQ(0, mprotect(m_buffer.data + HALF, HALF, PROT_NONE)); }

private:
    static constexpr unsigned int HALF = 1U << 16;

    SharedBuf m_buffer;
};

unsigned int lengthOf(const Codec& source, const Codec& target, const LongTail& tail,
                      unsigned int limit)
{
    const SharedBuf block = source.to(target, tail.data(), tail.size(), limit);
    block.unref();
    return block.length();
}

TEST(TextReach, ConversionWithinALimit)
{
    const LongTail tail("");
    tail.hide();
    EXPECT_EQ(999u, lengthOf(UTF8, UTF8, tail, 999));
    EXPECT_EQ(998u, lengthOf(UTF8, UTF16LE, tail, 999));
    EXPECT_EQ(996u, lengthOf(UTF8, UCS4, tail, 999));
    EXPECT_EQ(0u, lengthOf(UTF8, UTF8, tail, 0));
}

TEST(TextReach, ConversionOfUnitsWithinALimit)
{
    const LongTail tail("", 0);
    tail.hide();
    EXPECT_EQ(999u, lengthOf(UTF16LE, UTF8, tail, 999));
    EXPECT_EQ(999u, lengthOf(UCS4, UTF8, tail, 999));
}

TEST(TextReach, NewText_NothingIsReadBehindIt)
{
    support::GuardedBytes memory(512);
    for (const unsigned int size : {255u, 256u, 257u, 511u, 512u}) {
        const unsigned char* const bytes = memory.atEnd(std::vector<unsigned char>(size, 'a'));
        const String text = String::fromUtf8({reinterpret_cast<const char*>(bytes), size});
        EXPECT_EQ(size, text.size());
        EXPECT_EQ(0, std::memcmp(bytes, text.data(), size));
    }
}

// C1 A1 is a, too long: such a text has to be decoded.
TEST(TextReach, SearchForWhatIsTooLong)
{
    for (const unsigned int before : {10u, 255u, 256u, 257u, 1000u, 4000u}) {
        const LongTail tail(std::string(before, 'x') + "\xC1\xA1", 'x');
        const String text = tail.text();
        tail.hide();
        EXPECT_EQ(before, text.find("a").position.bytes) << before;
        EXPECT_EQ(before, text.find(String(UTF16LE, "a")).position.bytes) << before;
    }
}

TEST(TextReach, SearchForWhatIsNear)
{
    for (const unsigned int before : {10u, 255u, 256u, 1000u, 4000u}) {
        const LongTail tail(std::string(before, 'x') + "needle", 'x');
        const String text = tail.text();
        tail.hide();
        EXPECT_EQ(before, text.find("needle").position.chars) << before;
        EXPECT_EQ(before, text.find_first_of("ed").position.chars - 1) << before;
    }
}

TEST(TextReach, SearchBeforeALimit)
{
    const LongTail tail("a;b;c", 'x');
    const String text = tail.text();
    tail.hide();
    const String::Iterator limit{&text, {1000, 1000}};
    EXPECT_EQ(3u, text.find_last_of(";,", limit).position.chars);
    EXPECT_EQ(4u, text.find_last_not_of("x", limit).position.chars);
    EXPECT_EQ(text.size(), text.find_last_of("#", limit).position.chars);
}

} // namespace
