// SPDX-License-Identifier: Apache-2.0
//
// The text family and its memory: how often each operation allocates, and what becomes of it when
// there is none.

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/BlockCounter.h"
#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/SinglePass.h"
#include "support/TextForm.h"
#include "support/Texts.h"
#include "support/ThrowingCodec.h"

namespace {

using std::Buf;
using std::SharedBuf;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::allocatorCalls;
using support::attemptsOf;
using support::ChildResult;
using support::FailingMalloc;
using support::SinglePass;
using Walk = String::Spliterator;

/// The exit code of a child that met a fault near address 0 after that many attempts to allocate.
constexpr int FAULT_AT_NULL = 100;
int s_allocationsBefore = 0;

void reportFault(int, siginfo_t* fault, void*)
{
    const bool isNearNull = reinterpret_cast<std::uintptr_t>(fault->si_addr) < 4096;
    const int attempts = allocatorCalls().allocations - s_allocationsBefore;
    _exit(isNearNull ? FAULT_AT_NULL + attempts : 99);
}

void catchFaults()
{
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = reportFault;
    sigaction(SIGSEGV, &action, nullptr);
}

/// Runs `body` in a child, without memory from there on. Returns after how many attempts to
/// allocate it died by a fault near address 0; another number if it did not.
template <typename Body>
int deathOf(const Body& body)
{
    const ChildResult result = support::runInChild([&body] {
        catchFaults();
        const FailingMalloc exhausted;
        s_allocationsBefore = allocatorCalls().allocations;
        body();
    });
    return result.exitCode - FAULT_AT_NULL;
}

const support::Latin1Codec s_codec;
const std::string s_narrow = "abc";
const std::wstring s_wide = L"abcdefgh";

TEST(BufferExhaustion, Buffers_AreNullAndOfSizeZero)
{
    Buf buffer;
    EXPECT_EQ(1, attemptsOf([&] { buffer = Buf(5, Buf::DEFAULT_ALLOCATOR); }));
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ(nullptr, buffer.base);
    EXPECT_EQ(0U, buffer.size);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, buffer.allocator);
}

TEST(BufferExhaustion, Allocator_RecordsTheSizeOfWhatItCouldNotGet)
{
    Buf buffer;
    EXPECT_EQ(1, attemptsOf([&] { buffer = Buf::DEFAULT_ALLOCATOR.malloc(5); }));
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ(nullptr, buffer.base);
    EXPECT_EQ(5U, buffer.size);
    EXPECT_EQ(&Buf::DEFAULT_ALLOCATOR, buffer.allocator);
}

TEST(BufferExhaustion, SharedBlock_IsTheNullBuffer)
{
    SharedBuf block;
    EXPECT_EQ(1, attemptsOf([&] { block = SharedBuf(5); }));
    EXPECT_EQ(nullptr, block.data);
    EXPECT_EQ(nullptr, block.allocator);
    EXPECT_EQ(nullptr, block.base);
    EXPECT_EQ(0U, block.length());
    EXPECT_EQ(nullptr, block.payload());
    block.unref();
}

TEST(BufferExhaustion, SizeWithTheHeaderBeyond32Bits_IsNotAskedFor)
{
    EXPECT_EQ(1, attemptsOf([] { EXPECT_EQ(nullptr, SharedBuf(UINT_MAX - 8).data); }));
    EXPECT_EQ(0, attemptsOf([] { EXPECT_EQ(nullptr, SharedBuf(UINT_MAX - 7).data); }));
    EXPECT_EQ(0, attemptsOf([] { EXPECT_EQ(0U, SharedBuf(UINT_MAX).length()); }));
}

TEST(BufferExhaustion, Conversion_IsTheNullBuffer)
{
    const unsigned char bytes[] = {'a', 'b'};
    SharedBuf block;
    EXPECT_EQ(1, attemptsOf([&] { block = UTF8.to(UTF16LE, bytes, 2, UINT_MAX); }));
    EXPECT_EQ(nullptr, block.data);
    EXPECT_EQ(0U, block.length());
    EXPECT_EQ(1, attemptsOf([&] { block = s_codec.to(UTF8, bytes, 2, UINT_MAX); }));
    EXPECT_EQ(nullptr, block.data);
}

TEST(TextExhaustion, Texts_DieByAMemoryFault)
{
    const ChildResult result = support::runInChild([] {
        const FailingMalloc exhausted;
        String("abc");
    });
    EXPECT_EQ(SIGSEGV, result.signal);
    EXPECT_EQ("", result.out + result.err);
}

TEST(TextExhaustion, CopiedText_DiesNearAddress0)
{
    EXPECT_EQ(1, deathOf([] { String(); }));
    EXPECT_EQ(1, deathOf([] { String{UTF16LE}; }));
    EXPECT_EQ(1, deathOf([] { String(97U); }));
    EXPECT_EQ(1, deathOf([] { String("abc"); }));
    EXPECT_EQ(1, deathOf([] { String(""); }));
    EXPECT_EQ(1, deathOf([] { String{s_narrow}; }));
    EXPECT_EQ(1, deathOf([] { String(L"abc"); }));
    EXPECT_EQ(1, deathOf([] { String{s_wide}; }));
    EXPECT_EQ(1, deathOf([] { String::fromUtf8("abc"); }));
}

TEST(TextExhaustion, ConvertedText_DiesNearAddress0)
{
    const String text("abc");
    EXPECT_EQ(1, deathOf([] { String(UTF16LE, 97U); }));
    EXPECT_EQ(1, deathOf([] { String(UTF16LE, "abc"); }));
    EXPECT_EQ(1, deathOf([] { String(UTF8, ""); }));
    EXPECT_EQ(1, deathOf([] { String(UTF16LE, s_narrow); }));
    EXPECT_EQ(1, deathOf([] { String(UCS4, L"abc"); }));
    EXPECT_EQ(1, deathOf([] { String(UTF16LE, s_wide); }));
    EXPECT_EQ(1, deathOf([&] { String(UTF16BE, text.buffer(), UTF8); }));
    EXPECT_EQ(1, deathOf([&] { String(UTF16BE, text); }));
    EXPECT_EQ(1, deathOf([&] { String(s_codec, text); }));
}

TEST(TextExhaustion, Compositions_DieNearAddress0)
{
    const String text("abc");
    const String other(UTF16LE, ",");
    const std::vector<String> pieces(2, text);
    EXPECT_EQ(1, deathOf([&] { text + text; }));
    EXPECT_EQ(1, deathOf([&] { text + other; }));
    EXPECT_EQ(1, deathOf([&] { text * 3; }));
    EXPECT_EQ(1, deathOf([&] { text * 0; }));
    EXPECT_EQ(1, deathOf([&] { other.join(pieces.begin(), pieces.end()); }));
    EXPECT_EQ(1, deathOf([&] { other.join(Walk(), Walk()); }));
    EXPECT_EQ(1, deathOf([&] { other.join(SinglePass{&text}, SinglePass{&text, 3}); }));
    EXPECT_EQ(1, deathOf([&] { text.replace(other, text); }));
}

TEST(TextExhaustion, ShortTexts_NeedNoMemoryToBeConverted)
{
    const String text(UTF16LE, "abc");
    std::string narrow;
    EXPECT_EQ(0, attemptsOf([&] { narrow = text.toUtf8(); }));
    EXPECT_EQ("abc", narrow);
}

TEST(TextExhaustion, LongTexts_AreConvertedToNothing)
{
    const String text = String(UTF16LE, "abcdefgh") * 10;
    std::string narrow = "unchanged";
    std::wstring wide = L"unchanged";
    EXPECT_LE(1, attemptsOf([&] { narrow = text.toUtf8(); }));
    EXPECT_LE(1, attemptsOf([&] { wide = text.toWide(); }));
    EXPECT_EQ("", narrow);
    EXPECT_EQ(L"", wide);
    EXPECT_EQ(80U, text.toUtf8().size());
    EXPECT_EQ(1U, support::holders(text.buffer()));
}

TEST(TextExhaustion, EmptySubstrings_DieByAMemoryFault)
{
    const String text("abcde");
    EXPECT_EQ(1, deathOf([&] { text.substr(2, 2); }));
}

TEST(TextOverflow, Product_DiesWithoutAskingForMemory)
{
    const String text("a");
    const String pair("ab");
    const String eight("abcdefgh");
    EXPECT_EQ(1, deathOf([&] { text*(UINT_MAX - 8); }));
    EXPECT_EQ(0, deathOf([&] { text*(UINT_MAX - 7); }));
    EXPECT_EQ(0, deathOf([&] { pair * 0x80000000; }));
    EXPECT_EQ(0, deathOf([&] { pair * 0x80000001; }));
    EXPECT_EQ(0, deathOf([&] { eight * 0x1FFFFFFF; }));
    EXPECT_EQ(0, deathOf([&] { eight* UINT_MAX; }));
}

/// Says that a character takes as many bytes as it is told.
class WideCodec : public support::Latin1Codec
{
public:
    explicit WideCodec(unsigned int width) : m_width(width) {}

    unsigned int encoded_bytes(unsigned int) const override { return m_width; }

private:
    const unsigned int m_width;
};

/// How a text of 16 bytes dies to which one of `width` is added.
int deathOfSum(unsigned int width)
{
    const WideCodec codec(width);
    const String left = support::textWith("0123456789ABCDEF", codec);
    const String right("x");
    return deathOf([&] { left + right; });
}

TEST(TextOverflow, Sum_DiesWithoutAskingForMemory)
{
    EXPECT_EQ(1, deathOfSum(UINT_MAX - 8 - 16));
    EXPECT_EQ(0, deathOfSum(UINT_MAX - 7 - 16));
    EXPECT_EQ(0, deathOfSum(UINT_MAX - 15));
    EXPECT_EQ(0, deathOfSum(UINT_MAX));
}

TEST(TextOverflow, ConversionBeyond32Bits_CountsAsWithoutMemory)
{
    const unsigned char bytes[] = {'a', 'b'};
    const WideCodec codec(0x80000000);
    const String text("ab");
    SharedBuf block;
    EXPECT_EQ(0, attemptsOf([&] { block = UTF8.to(codec, bytes, 2, UINT_MAX); }));
    EXPECT_EQ(nullptr, block.data);
    EXPECT_EQ(1, attemptsOf([&] { block = UTF8.to(codec, bytes, 2, UINT_MAX - 1); })); // cut to a
    EXPECT_EQ(0, deathOf([&] { String(codec, text); }));
    EXPECT_EQ(0, deathOf([&] { String(codec, "ab"); }));
    EXPECT_EQ(1, deathOf([&] { String(codec, "a"); }));
}

/// A text of 2^26 zeros, which are never given memory of their own.
class Zeros
{
public:
    Zeros()
    {
        m_buffer.size = SharedBuf::HEADER_SIZE + LENGTH;
        m_buffer.offset = SharedBuf::HEADER_SIZE;
        m_buffer.data =
            static_cast<unsigned char*>(mmap(nullptr, m_buffer.size, PROT_READ | PROT_WRITE,
                                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        m_text = String(m_buffer, UTF8);
    }
    ~Zeros()
    {
        m_text = String();
        munmap(m_buffer.data, m_buffer.size);
    }
    Zeros(const Zeros&) = delete;
    Zeros& operator=(const Zeros&) = delete;

    const String& text() const { return m_text; }

private:
    static constexpr unsigned int LENGTH = 1U << 26;

    SharedBuf m_buffer;
    String m_text;
};

TEST(TextOverflow, JoinAndReplace_DieWithoutAskingForMemory)
{
    const Zeros zeros;
    const std::vector<String> pieces(64, zeros.text());
    const String empty("");
    const String comma(",");
    const String most = String("a,") * 63 + String("a");
    const String more = String("a,") * 64 + String("a");
    EXPECT_EQ(1, deathOf([&] { empty.join(pieces.begin() + 1, pieces.end()); }));
    EXPECT_EQ(0, deathOf([&] { empty.join(pieces.begin(), pieces.end()); }));
    EXPECT_EQ(1, deathOf([&] { most.replace(comma, zeros.text()); }));
    EXPECT_EQ(0, deathOf([&] { more.replace(comma, zeros.text()); }));
}

} // namespace
