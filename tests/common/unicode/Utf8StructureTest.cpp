// SPDX-License-Identifier: Apache-2.0
//
// The proof of structure against the plain codec: what it passes is whole characters, as many as
// the codec counts; words and vectors alike.

#include <common/unicode/Utf8Structure.h>

#include <string>

#include <gtest/gtest.h>

#include <support/GuardedBytes.h>
#include <support/Random.h>
#include <support/SlowCodec.h>

namespace {

using support::slow::Bytes;
using textcore::Accept;
using TextRun = textcore::Run;

template <typename Lanes>
class Utf8Structure : public testing::Test
{
protected:
    /// Returns what is proved of `bytes`, beside which there is nothing.
    template <Accept ACCEPT = Accept::STRUCTURED>
    static TextRun prove(const Bytes& bytes)
    {
        static support::GuardedBytes s_memory(8192);
        const auto size = static_cast<unsigned int>(bytes.size());
        using Proof = textcore::Utf8Structure<Lanes, ACCEPT>;
        const TextRun run = Proof({s_memory.atBeginning(bytes), size}).prove();
        EXPECT_EQ(run.bytes, Proof({s_memory.atEnd(bytes), size}).prove().bytes);
        return run;
    }
    template <Accept ACCEPT = Accept::STRUCTURED>
    static TextRun prove(const std::string& text)
    {
        return prove<ACCEPT>(Bytes(text.begin(), text.end()));
    }

    /// Returns the number of characters of the first `size` bytes, "-1" if they end within one.
    static int slowCount(const Bytes& bytes, unsigned int size)
    {
        support::slow::Place at;
        unsigned int last = 0;
        while (at.bytes < size)
            support::slow::readForward(support::slow::UTF8, bytes, at, 1, last);
        return at.bytes == size ? static_cast<int>(at.chars) : -1;
    }

    /// Returns whether the first `size` bytes, which are whole characters, are what encoding these
    /// gives.
    static bool isCanonical(const Bytes& bytes, unsigned int size)
    {
        const Bytes part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        using support::slow::UTF8;
        return support::slow::convert(UTF8, UTF8, part) == part;
    }

    static void expectSlowCount(const Bytes& bytes)
    {
        const TextRun run = prove(bytes);
        ASSERT_LE(run.bytes, bytes.size());
        EXPECT_EQ(slowCount(bytes, run.bytes), static_cast<int>(run.chars));
        const TextRun basic = prove<Accept::BASIC>(bytes);
        ASSERT_LE(basic.bytes, bytes.size());
        EXPECT_EQ(slowCount(bytes, basic.bytes), static_cast<int>(basic.chars));
        for (unsigned int i = 0; i < basic.bytes; ++i)
            EXPECT_GT(0xF0, bytes[i]);
        expectPlain<Accept::PLAIN>(bytes);
        expectPlain<Accept::PLAIN_FOUR>(bytes);
    }

    template <Accept ACCEPT>
    static void expectPlain(const Bytes& bytes)
    {
        const TextRun run = prove<ACCEPT>(bytes);
        ASSERT_LE(run.bytes, bytes.size());
        EXPECT_EQ(slowCount(bytes, run.bytes), static_cast<int>(run.chars));
        EXPECT_TRUE(isCanonical(bytes, run.bytes));
    }
};

using AllLanes = testing::Types<
#if defined(__SSE2__) || defined(__ARM_NEON)
    textcore::Vector,
#endif
    textcore::Word>;
TYPED_TEST_SUITE(Utf8Structure, AllLanes, );

std::string repeated(const char* piece, int count)
{
    std::string text;
    while (count-- > 0)
        text += piece;
    return text;
}

TYPED_TEST(Utf8Structure, Prove_TooShort_IsEmpty)
{
    EXPECT_EQ(0u, this->prove("").bytes);
    EXPECT_EQ(0u, this->prove("ab").bytes);
    EXPECT_EQ(0u, this->prove("abc").bytes);
    EXPECT_EQ(8u, this->prove("abcdefgh").bytes);
}

TYPED_TEST(Utf8Structure, Prove_WellFormed_ComesNearTheEnd)
{
    for (const char* const piece : {"a", "\xC3\xBC", "\xE6\x95\x8F", "\xF0\x9F\xA6\x8A"}) {
        const auto length = static_cast<unsigned int>(std::string(piece).size());
        const TextRun run = this->prove(repeated(piece, 1000));
        EXPECT_LE(1000 * length - sizeof(textcore::Word) - 3, run.bytes);
        EXPECT_EQ(run.bytes / length, run.chars);
        EXPECT_EQ(0u, run.bytes % length);
    }
}

TYPED_TEST(Utf8Structure, Prove_WellFormed_OfAnyLength_PassesAll)
{
    for (const char* const piece : {"a", "\xC3\xBC", "\xE6\x95\x8F", "\xF0\x9F\xA6\x8A"})
        for (int count = 8; count <= 150; ++count) {
            const std::string text = repeated(piece, count);
            EXPECT_EQ(text.size(), this->prove(text).bytes);
            EXPECT_EQ(static_cast<unsigned int>(count), this->prove(text).chars);
            EXPECT_EQ(text.size() + 5, this->prove(text + "aaaaa").bytes);
            EXPECT_EQ(text.size() + 5, this->prove("aaaaa" + text).bytes);
        }
}

TYPED_TEST(Utf8Structure, Prove_OfALeadAtTheEnd_LeavesItOut)
{
    for (const char* const lead : {"\xC3", "\xE6", "\xE6\x95", "\xF0", "\xF0\x9F\xA6"})
        for (int count = 0; count <= 150; ++count) {
            const TextRun run = this->prove(repeated("a", count) + lead);
            EXPECT_GE(static_cast<unsigned int>(count), run.bytes);
            EXPECT_EQ(run.bytes, run.chars);
        }
}

TYPED_TEST(Utf8Structure, Prove_CutCharacterBeforeAscii_EndsBeforeIt)
{
    for (const char* const cut : {"\xC3", "\xE6\x80", "\xF0\x9F\x80", "\xF0\x9F"})
        for (int count = 0; count <= 150; ++count) {
            const TextRun run = this->prove(repeated("a", count) + cut + repeated("a", 300));
            ASSERT_GE(static_cast<unsigned int>(count), run.bytes) << cut << " behind " << count;
            EXPECT_EQ(run.bytes, run.chars);
        }
}

TYPED_TEST(Utf8Structure, Prove_EndsBeforeWhatFails)
{
    for (const char* const bad : {"\x80", "\xC3z", "\xE6\x95z", "\xF8\x88\x80\x80\x80", "\xFF"}) {
        const std::string before = repeated("\xC3\xBCz", 100);
        const TextRun run = this->prove(before + bad + repeated("a", 300));
        EXPECT_GE(300u, run.bytes);
        EXPECT_LE(300u - 8 * sizeof(TypeParam) - 4, run.bytes);
        EXPECT_EQ(run.bytes / 3 * 2 + (run.bytes % 3) / 2, run.chars);
    }
}

TYPED_TEST(Utf8Structure, Prove_OfThreeBytes_EndsBeforeFour)
{
    const TextRun run = this->template prove<Accept::BASIC>(
        repeated("a", 200) + "\xF0\x9F\xA6\x8A" + repeated("a", 200));
    EXPECT_GE(200u, run.bytes);
    EXPECT_LE(200u - 8 * sizeof(TypeParam), run.bytes);
}

TYPED_TEST(Utf8Structure, Prove_PlainFour_PassesEmoji)
{
    const TextRun run = this->template prove<Accept::PLAIN_FOUR>(repeated("\xF0\x9F\xA6\x8A", 100));
    EXPECT_LE(400u - sizeof(textcore::Word), run.bytes);
    EXPECT_EQ(run.bytes / 4, run.chars);
}

// The others are decoded: they may be overlong, or surrogates.
TYPED_TEST(Utf8Structure, Prove_Plain_PassesEachLeadButSome)
{
    for (unsigned int lead = 0xC0; lead <= 0xEF; ++lead) {
        Bytes bytes;
        for (int i = 0; i < 100; ++i) {
            bytes.push_back(static_cast<unsigned char>(lead));
            bytes.insert(bytes.end(), lead < 0xE0 ? 1 : 2, 0x80);
        }
        const bool isPassed = (lead >= 0xC2 && lead <= 0xDF) || (lead >= 0xE2 && lead <= 0xEB);
        const TextRun run = this->template prove<Accept::PLAIN>(bytes);
        EXPECT_EQ(isPassed ? bytes.size() : 0, run.bytes) << lead;
        EXPECT_EQ(isPassed ? 100U : 0, run.chars) << lead;
    }
}

// What is longer than its value needs, above what is assigned, or counts as a surrogate is not
// plain.
TYPED_TEST(Utf8Structure, Prove_EveryBeginningOfFourBytes)
{
    for (unsigned int lead = 0xEF; lead <= 0xF8; ++lead)
        for (unsigned int second = 0x80; second <= 0xC0; ++second)
            for (const std::size_t before : {0u, 4u, 7u, 14u, 15u, 60u})
                for (const unsigned int third : {0xA0u, 0xBFu}) {
                    Bytes bytes(before, 'a');
                    for (const unsigned int byte : {lead, second, third, 0x80u})
                        bytes.push_back(static_cast<unsigned char>(byte));
                    bytes.resize(80, 'a');
                    this->expectSlowCount(bytes);
                }
}

TYPED_TEST(Utf8Structure, Prove_EveryBeginningOfThreeBytes)
{
    for (unsigned int first = 0; first < 256; first += first < 0x78 ? 0x40 : 1)
        for (unsigned int second = 0x3F; second < 256; second += 0x10)
            for (unsigned int third = 0x3F; third < 256; third += 0x10) {
                Bytes bytes(40, 'a');
                bytes[0] = static_cast<unsigned char>(first);
                bytes[1] = static_cast<unsigned char>(second);
                bytes[2] = static_cast<unsigned char>(third);
                this->expectSlowCount(bytes);
            }
}

TYPED_TEST(Utf8Structure, Prove_OneBadByteAnywhere)
{
    const std::string good = repeated("a\xC3\xBC\xE6\x95\x8F\xF0\x9F\xA6\x8A", 20);
    for (std::size_t place = 0; place < good.size(); ++place)
        for (const int bad : {0x41, 0x80, 0xBF, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFF}) {
            Bytes bytes(good.begin(), good.end());
            bytes[place] = static_cast<unsigned char>(bad);
            this->expectSlowCount(bytes);
        }
}

TYPED_TEST(Utf8Structure, Prove_CutAnywhere)
{
    const std::string good = repeated("a\xC3\xBC\xE6\x95\x8F\xF0\x9F\xA6\x8A", 20);
    for (std::size_t size = 0; size < good.size(); ++size)
        this->expectSlowCount(
            Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
}

TYPED_TEST(Utf8Structure, Prove_Random)
{
    support::Random random(20261121);
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes(random.below(300));
        const unsigned int kinds = 1 + random.below(6);
        for (unsigned char& byte : bytes) {
            static const unsigned char LEADS[] = {'a', 0x80, 0xC3, 0xE6, 0xF0, 0xF8};
            byte = LEADS[random.below(kinds)];
        }
        this->expectSlowCount(bytes);
    }
}

} // namespace
