// SPDX-License-Identifier: Apache-2.0
//
// The codecs before the first initialiser and behind the last exit handler of a process.

#include <common/unicode/Codec.h>

#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/FirstInitialiser.h"
#include "support/ProcessEnd.h"

namespace {

using namespace std::unicode;

// Without initialisers of their own.
constexpr unsigned char UTF8_TEXT[] = {0x61, 0xE2, 0x82, 0xAC};
constexpr unsigned char UTF16_TEXT[] = {0x61, 0x00, 0xAC, 0x20};
constexpr unsigned char UTF16BE_TEXT[] = {0x00, 0x61, 0x20, 0xAC};

bool gives(const Codec& from, const Codec& into, const unsigned char (&text)[4],
           const unsigned char (&expected)[4])
{
    const std::SharedBuf block = from.to(into, text, 4, 0xFFFFFFFF);
    const bool isEqual = block.length() == 4 && std::memcmp(block.payload(), expected, 4) == 0;
    block.unref();
    return isEqual;
}

/// Whether everything works. Uses nothing but the library and the C library's memory.
bool work()
{
    Codec::Index at;
    unsigned int last = 0;
    const std::Buf memory(4, std::Buf::DEFAULT_ALLOCATOR);
    std::Buf::DEFAULT_ALLOCATOR.free(memory);
    return BOM == 0xFEFF && MOB == 0xFFFE && REPLACEMENT_CHAR == 0xFFFD && &NATIVE == &UTF8 &&
           &WSTRING == &UCS4 && &UTF16MACHINE == &UTF16LE && memory.size == 4 &&
           NATIVE.read_forward(UTF8_TEXT, 4, at, 2, last) == 1 && last == 0x20AC &&
           WSTRING.encoded_bytes(0x61) == 4 && gives(NATIVE, UTF16MACHINE, UTF8_TEXT, UTF16_TEXT) &&
           gives(UTF16BE, UTF8, UTF16BE_TEXT, UTF8_TEXT) &&
           gives(UTF16LE, UTF16BE, UTF16_TEXT, UTF16BE_TEXT);
}

struct EarlyWork
{
    EarlyWork() : isDone(work()) {}

    const bool isDone;
};

/// Built ahead of all other static objects of this program.
__attribute__((init_priority(101))) const EarlyWork s_earlyWork;

#ifdef SUPPORT_FIRST_INITIALISER
int s_firstWork = -1;

SUPPORT_FIRST_INITIALISER = [] { s_firstWork = work() ? 1 : 0; };

TEST(CodecObjects, AheadOfTheInitialisersOfAllLibraries_Work)
{
    EXPECT_EQ(1, s_firstWork);
}
#endif

TEST(CodecObjects, InAStaticInitialiser_Work)
{
    EXPECT_TRUE(s_earlyWork.isDone);
}

TEST(CodecObjects, BehindAllStaticObjects_Work)
{
    const auto result = support::runInChildToExit([] {
        support::afterAllStaticObjects([] { std::printf(work() ? "they work" : "they fail"); });
    });
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("they work", result.out);
}

TEST(CodecObjects, BlockThatOutlivesAllStaticObjects_IsReleased)
{
    const auto result = support::runInChildToExit([] {
        // Never destroyed, as its holder gives it up.
        static std::SharedBuf& s_block =
            *new std::SharedBuf(UTF8.to(UTF16BE, UTF8_TEXT, 4, 0xFFFFFFFF));
        support::afterAllStaticObjects([] {
            const std::SharedBuf view = s_block + 3;
            s_block.unref();
            std::printf("%u byte: %02X", view.length(), *view.payload());
            view.unref();
        });
    });
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("1 byte: AC", result.out);
}

} // namespace
