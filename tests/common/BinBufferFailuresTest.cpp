// SPDX-License-Identifier: Apache-2.0
//
// Writing to devices that fail, and to those that take a part.

#include <common/BinBuffer.h>

#include <memory>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using std::ErrorStorage;
using support::DeviceOutput;
using support::OpenBinBuffer;
using support::OpenStorage;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

/// Whether an error is stored that nobody acknowledged.
bool isPending()
{
    return ErrorStorage::isError(true);
}

TEST(BinBuffer, NothingTaken_CharacterIsRefused)
{
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    buffer.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) { // as a caller that retries until it succeeds
        output.take(0);
        EXPECT_EQ(END_OF_FILE, buffer.sputc('d'));
    }
    EXPECT_EQ("abc+0", buffer.putArea());
    EXPECT_EQ(1, buffer.sputc('e'));
    EXPECT_EQ("abce", output.taken());
}

TEST(BinBuffer, NothingTaken_SyncKeepsWhatIsPending)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 4);
    buffer.sputn("ab", 2);
    output.take(0);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_EQ("ab+1", buffer.putArea());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("ab", output.taken());
}

TEST(BinBuffer, NothingTaken_AcknowledgesWhatIsPending)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 2);
    support::startChain(3);
    output.take(0);
    buffer.sputc('a');
    EXPECT_EQ(END_OF_FILE, buffer.sputc('b'));
    EXPECT_FALSE(isPending());
    EXPECT_TRUE(ErrorStorage::isError(false));
}

#ifdef __CHAR_UNSIGNED__

TEST(BinBuffer, FailedWrite_PassesForASuccess)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.fail(1, 5);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("+3", buffer.putArea());
    EXPECT_TRUE(isPending());
}

TEST(BinBuffer, FailedWrite_OfNothing_NeverReachesTheByteHeldBack)
{
    const OpenStorage storage;
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    for (int i = 0; i < 100; ++i) {
        output.fail(0);
        EXPECT_EQ(4, buffer.sputn("abcd", 4));
        EXPECT_EQ("+3", buffer.putArea());
    }
    EXPECT_EQ("abcd", std::string(outside.get(), 4));
}

TEST(BinBuffer, FailedWrite_SizeOfOne_PassesForASuccess)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.fail(1);
    EXPECT_EQ(1, buffer.sputc('a'));
    EXPECT_EQ("", output.taken());
    EXPECT_TRUE(isPending());
}

TEST(BinBuffer, FailedWrite_SyncPassesForASuccess)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("+3", buffer.putArea());
    EXPECT_EQ("", output.taken());
}

#else

TEST(BinBuffer, FailedWrite_CharacterIsRefused)
{
    const OpenStorage storage;
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[4]);
    OpenBinBuffer buffer(nullptr, 0, &output, 4, nullptr, outside.get());
    buffer.sputn("abc", 3);
    for (int i = 0; i < 100; ++i) {
        output.fail(1);
        EXPECT_EQ(END_OF_FILE, buffer.sputc('d'));
        EXPECT_FALSE(isPending());
    }
    EXPECT_EQ("abc+0", buffer.putArea());
    EXPECT_EQ(1, buffer.sputc('e'));
    EXPECT_EQ("abce", output.taken());
}

TEST(BinBuffer, FailedWrite_CountIsNotLookedAt)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.fail(1, 5);
    EXPECT_EQ(7, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("abcdefg+0", buffer.putArea());
}

TEST(BinBuffer, FailedWrite_SizeOfOne_Fails)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 1);
    output.fail(1);
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_FALSE(isPending());
    EXPECT_EQ(1, buffer.sputc('b'));
    EXPECT_EQ("b", output.taken());
}

TEST(BinBuffer, FailedWrite_SyncFails)
{
    const OpenStorage storage;
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("abc+4", buffer.putArea());
}

#endif

TEST(BinBuffer, Sync_FailedFlush)
{
    const OpenStorage storage;
    DeviceOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abc", 3);
    output.fail(1);
    EXPECT_EQ(-1, buffer.pubsync());
    EXPECT_FALSE(isPending());
    EXPECT_EQ("+7", buffer.putArea());
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("abc", output.taken());
}

TEST(BinBuffer, PartialSync_OverAnUnbufferedStream_LosesTheRest)
{
    DeviceOutput output;
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abcd", 4);
    output.take(1);
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("+3", buffer.putArea()); // "bcd" is there, and does not count
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("write(abcd)", output.takeCalls());
    EXPECT_EQ("a", output.taken());
}

TEST(BinBuffer, PartialSync_OverABufferedStream_LosesNothing)
{
    DeviceOutput output(16);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    buffer.sputn("abcd", 4);
    output.take(1);
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("+7", buffer.putArea());
    EXPECT_EQ("write(abcd) write(bcd)", output.takeCalls());
    EXPECT_EQ("abcd", output.taken());
}

TEST(BinBuffer, PartialDrain_OverASmallerBuffer_LosesWhatItCannotHold)
{
    DeviceOutput output(4);
    OpenBinBuffer buffer(nullptr, 0, &output, 8);
    output.take(3);
    EXPECT_EQ(8, buffer.sputn("abcdefgh", 8));
    EXPECT_EQ("+1", buffer.putArea()); // "h" is there, and does not count
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("write(abcdefgh) write(defg)", output.takeCalls());
}

} // namespace
