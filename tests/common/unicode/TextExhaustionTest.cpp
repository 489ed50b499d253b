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
using support::ChildResult;
using support::FailingMalloc;
using Walk = String::Spliterator;

/// Returns how often `body` allocates.
template <typename Body>
int allocationsOf(const Body& body)
{
    const int before = allocatorCalls().allocations;
    body();
    return allocatorCalls().allocations - before;
}

/// Runs `body` while every allocation of the thread fails. Returns how many it attempted.
template <typename Body>
int attemptsOf(const Body& body)
{
    const FailingMalloc exhausted;
    body();
    return exhausted.calls();
}

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

TEST(TextAllocations, NewTexts_AllocateOnce)
{
    EXPECT_EQ(1, allocationsOf([] { String(); }));
    EXPECT_EQ(1, allocationsOf([] { String{UTF16LE}; }));
    EXPECT_EQ(1, allocationsOf([] { String(97U); }));
    EXPECT_EQ(1, allocationsOf([] { String("abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(L"abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, 97U); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, "abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF8, L"abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, s_narrow); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, s_wide); }));
}

TEST(TextAllocations, CopiesAndMoves_AllocateNothing)
{
    const String text("abc");
    EXPECT_EQ(0, attemptsOf([&] {
                  String copy(text);
                  String moved(std::move(copy));
                  copy = moved;
                  moved = std::move(copy);
                  EXPECT_EQ(2U, support::holders(text.buffer()));
                  EXPECT_EQ(text.data(), String(text.buffer(), UTF8).data());
                  EXPECT_EQ(text.data(), String(UTF8, text).data());
                  EXPECT_EQ(text.data(), String(UTF8, text.buffer(), UTF8).data());
              }));
}

TEST(TextAllocations, Substrings_AllocateNothing)
{
    const String text("abcde");
    unsigned int size = 0;
    EXPECT_EQ(0, attemptsOf([&] { size += text.substr(-3, -1).size(); }));
    EXPECT_EQ(0, attemptsOf([&] { size += text.substr(text.begin(), text.end()).size(); }));
    EXPECT_EQ(7U, size);
}

// An empty text has a block as any other.
TEST(TextAllocations, EmptySubstrings_AllocateOnce)
{
    const String text("abcde");
    EXPECT_EQ(1, allocationsOf([&] { text.substr(2, 2); }));
    EXPECT_EQ(1, allocationsOf([&] { text.substr({}, text.end()); }));
    EXPECT_EQ(1, deathOf([&] { text.substr(2, 2); }));
}

TEST(TextAllocations, Readers_AllocateNothing)
{
    const String text("abc");
    const String other(UTF16LE, "abd");
    bool isRight = false;
    EXPECT_EQ(0, attemptsOf([&] {
                  isRight = text < other && other > text && text != other && text.at(2) == 'c' &&
                            text.count() == 3 && text.hash() != other.hash();
              }));
    EXPECT_TRUE(isRight);
}

TEST(TextAllocations, PositionsAndSearches_AllocateNothing)
{
    const String text("abcabc");
    const String needle(UTF16LE, "bc");
    unsigned int sum = 0;
    EXPECT_EQ(0, attemptsOf([&] {
                  for (const unsigned int c : text)
                      sum += c;
                  sum += text.find(needle).position.chars + text.rfind(needle).position.chars;
                  sum += text.find_first_of(needle).position.chars;
                  sum += text.find_first_not_of(needle).position.chars;
                  sum += text.find_last_of(needle).position.chars;
                  sum += text.find_last_not_of(needle).position.chars;
              }));
    EXPECT_EQ(588U + 1 + 4 + 1 + 0 + 5 + 3, sum);
}

TEST(TextAllocations, Sums_AllocateOnce)
{
    const String text("abc");
    const String other(UTF16LE, "abc");
    EXPECT_EQ(1, allocationsOf([&] { text + text; }));
    EXPECT_EQ(1, allocationsOf([&] { text + other; }));
    EXPECT_EQ(1, allocationsOf([&] { other + text; }));
    EXPECT_EQ(1, allocationsOf([&] { text * 1000; }));
    EXPECT_EQ(1, allocationsOf([&] { text * 0; }));
}

TEST(TextAllocations, Split_AllocatesForEmptyPiecesAlone)
{
    const String text("a,b");
    const String separator(",");
    EXPECT_EQ(0, attemptsOf([&] {
                  for (const String& piece : text.split(separator))
                      EXPECT_EQ(1U, piece.size());
              }));
    EXPECT_EQ(0, attemptsOf([] { EXPECT_TRUE(Walk() == Walk()); }));
    Walk walk(text, "a");
    EXPECT_EQ(1, allocationsOf([&] { EXPECT_TRUE((*walk).empty()); }));
}

TEST(TextAllocations, Join_AllocatesOnce)
{
    const String glue(UTF16LE, "+");
    const std::vector<String> pieces(100, String(UTF16BE, "abc"));
    EXPECT_EQ(1, allocationsOf([&] { glue.join(pieces.begin(), pieces.end()); }));
    EXPECT_EQ(1, allocationsOf([&] { glue.join(pieces.begin(), pieces.begin()); }));
}

/// Gives a text of three characters, as often as it is told, and can be walked once only.
struct SinglePass
{
    const String& operator*() const { return *piece; }
    SinglePass& operator++() { return ++step, *this; }
    bool operator!=(const SinglePass& other) const { return step != other.step; }

    const String* piece;
    int step = 0;
};

// What cannot be measured first goes into a block that grows.
TEST(TextAllocations, JoinOfASinglePass_AllocatesFarLessOftenThanItHasPieces)
{
    const String piece("abc");
    const String glue("+");
    String text;
    EXPECT_GE(12, allocationsOf([&] {
                  text = glue.join(SinglePass{&piece}, SinglePass{&piece, 100});
              }));
    EXPECT_EQ(399U, text.byteLength());
}

// Each empty piece is a text with a block, which is made when it is measured and when it is put.
TEST(TextAllocations, Replace_AllocatesOnceAndTwiceForEachEmptyPiece)
{
    const String text("abcb");
    const String with(UTF16LE, "xyz");
    const String letter("c");
    EXPECT_EQ(1, allocationsOf([&] { text.replace(letter, with); }));
    EXPECT_EQ(1, allocationsOf([&] { text.replace(with, letter); }));
    const String last("b");
    EXPECT_EQ(3, allocationsOf([&] { text.replace(last, with); }));
}

TEST(TextAllocations, InterruptedOperations_ReleaseWhatTheyAllocated)
{
    support::ThrowingCodec codec;
    const String text = support::textWith("a,b", codec);
    const String utf8("a,b");
    const support::AllocatorCalls before = allocatorCalls();
    EXPECT_EQ(9, support::interruptions(
                     codec, [&] { String(codec, "abc"); }, [] {}));
    EXPECT_EQ(6, support::interruptions(
                     codec, [&] { text + utf8; }, [] {}));
    EXPECT_LE(6, support::interruptions(
                     codec, [&] { text.replace(utf8, "-"); }, [] {}));
    EXPECT_LE(6, support::interruptions(
                     codec, [&] { utf8.replace(",", text); }, [] {}));
    const support::AllocatorCalls after = allocatorCalls();
    EXPECT_LT(before.allocations, after.allocations);
    EXPECT_EQ(after.allocations - before.allocations, after.releases - before.releases);
}

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
