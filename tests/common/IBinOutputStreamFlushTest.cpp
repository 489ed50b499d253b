// SPDX-License-Identifier: Apache-2.0
//
// Flushing, and what is lost without it.

#include <common/IBinOutputStream.h>

#include <string>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::HookedOutput;
using support::OpenStorage;
using support::ScriptedOutput;
using support::take;
using support::Transfer;
using support::writeText;

/// A stream with a buffer of 8 bytes that holds "abcde" and has noted nothing yet.
template <typename Output>
struct Filled : Output
{
    explicit Filled(const std::vector<Transfer>& script, bool isBlocking = true)
        : Output(8, script, isBlocking)
    {
        EXPECT_EQ("1 5", writeText(*this, "abcde"));
        this->notes.clear();
    }
};

/// The positions of the unwritten bytes.
#define EXPECT_POSITIONS(begin, end, output)                                                       \
    EXPECT_EQ(begin, (output).writePos);                                                           \
    EXPECT_EQ(end, (output).writeEnd)

TEST(Flush, HandsTheBufferOver)
{
    Filled<ScriptedOutput> output({});
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, Deep_HookNotReplaced)
{
    Filled<ScriptedOutput> output({});
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("write(5)", output.notes);
}

TEST(Flush, Blocking_GoesOnUntilAllIsOut)
{
    Filled<ScriptedOutput> output({take(2), take(1), take(2)});
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5) write(3) write(2)", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, Blocking_RepeatsWhileTheDeviceTakesNothing)
{
    Filled<ScriptedOutput> output({take(0), take(0), take(4), take(0), take(1)});
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5) write(5) write(5) write(1) write(1)", output.notes);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, NotBlocking_StopsAfterAPartialTransfer)
{
    Filled<ScriptedOutput> output({take(2)}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_EQ("cde", output.held());
    EXPECT_POSITIONS(2U, 5U, output);
}

TEST(Flush, NotBlocking_DeviceTakesNothing)
{
    Filled<ScriptedOutput> output({take(0)}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_POSITIONS(0U, 5U, output);
}

TEST(Flush, NotBlocking_AllIsOutAtOnce)
{
    Filled<ScriptedOutput> output({}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, NotBlocking_GoesOnWithTheNextFlush)
{
    Filled<ScriptedOutput> output({take(2)}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5) write(3)", output.notes);
    EXPECT_EQ("abcde", output.taken);
}

TEST(Flush, NotBlocking_AWriteIsStoredBehindTheRest)
{
    Filled<ScriptedOutput> output({take(2)}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("1 2", writeText(output, "fg"));
    EXPECT_EQ("cdefg", output.held());
    EXPECT_POSITIONS(2U, 7U, output);
}

TEST(Flush, Empty_DoesNothing)
{
    HookedOutput output(8);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("", output.notes);
}

TEST(Flush, Unbuffered_DoesNothing)
{
    HookedOutput output(0);
    EXPECT_EQ("1 2", writeText(output, "ab"));
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(2)", output.notes);
}

TEST(FlushHooks, Order)
{
    Filled<HookedOutput> output({take(2)});
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("check write(5) write(3) sync", output.notes);
}

TEST(FlushHooks, NotDeep_OnlyTheCheck)
{
    Filled<HookedOutput> output({});
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("check write(5)", output.notes);
}

TEST(FlushHooks, Empty_OnlyTheSync)
{
    HookedOutput output(8);
    EXPECT_FALSE(output.flush(true));
    HookedOutput unbuffered(0);
    EXPECT_FALSE(unbuffered.flush(true));
    EXPECT_EQ("sync", output.notes);
    EXPECT_EQ("sync", unbuffered.notes);
}

TEST(FlushHooks, FilledStreamMadeUnbuffered_OnlyTheSync)
{
    Filled<HookedOutput> output({});
    output.bufferSize = 0;
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("sync", output.notes);
    EXPECT_EQ("abcde", output.held());
}

TEST(FlushHooks, CheckMakesTheStreamUnbuffered_BufferIsStillHandedOver)
{
    Filled<HookedOutput> output({});
    output.check = [&] { return output.bufferSize = 0, false; };
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("check write(5)", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(FlushHooks, CheckDropsWhatIsHeld_NothingIsHandedOver)
{
    Filled<HookedOutput> output({});
    output.check = [&] { return output.writePos = output.writeEnd = 0, false; };
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("check", output.notes);
    EXPECT_EQ("", output.taken);
}

TEST(FlushHooks, NotBlocking_SyncComesWithBytesStillBuffered)
{
    Filled<HookedOutput> output({take(2)}, false);
    EXPECT_FALSE(output.flush(true));
    EXPECT_EQ("check write(5) sync", output.notes);
    EXPECT_EQ("cde", output.held());
}

TEST(FlushHooks, CheckFails)
{
    Filled<HookedOutput> output({});
    output.check = [] { return true; };
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ("check", output.notes);
    EXPECT_EQ("abcde", output.held());
}

TEST(FlushHooks, SyncFails)
{
    const OpenStorage errors;
    Filled<HookedOutput> output({});
    output.sync = [] { return support::raiseStreamError(), true; };
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ("check write(5) sync", output.notes);
    EXPECT_EQ("abcde", output.taken);
    EXPECT_POSITIONS(0U, 0U, output);
    EXPECT_FALSE(output.flush(false));
}

TEST(FlushFailure, DropsWhatWasTaken)
{
    const OpenStorage errors;
    Filled<HookedOutput> output({take(2).raising()});
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ("check write(5)", output.notes);
    EXPECT_EQ("cde", output.held());
    EXPECT_POSITIONS(2U, 5U, output);
    EXPECT_TRUE(std::ErrorStorage::isA(std::IBinStreamBase::StreamError));
}

TEST(FlushFailure, AllWasTaken)
{
    const OpenStorage errors;
    Filled<HookedOutput> output({take(5).raising()});
    EXPECT_TRUE(output.flush(true));
    EXPECT_EQ("check write(5)", output.notes);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(FlushFailure, InTheMiddle)
{
    const OpenStorage errors;
    Filled<ScriptedOutput> output({take(2), take(0).raising()});
    EXPECT_TRUE(output.flush(false));
    EXPECT_EQ("write(5) write(3)", output.notes);
    EXPECT_EQ("cde", output.held());
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", output.taken);
}

TEST(FlushFailure, CountNotTouched)
{
    const OpenStorage errors;
    Filled<ScriptedOutput> output({take(2), take(9).leavingCount().raising()});
    EXPECT_TRUE(output.flush(false));
    EXPECT_EQ("cde", output.held());
    EXPECT_POSITIONS(2U, 5U, output);
}

TEST(FlushFailure, CountTooLarge)
{
    const OpenStorage errors;
    Filled<ScriptedOutput> output({take(6).raising()});
    EXPECT_TRUE(output.flush(false));
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, CountTooLarge_IsAllThatWasOffered)
{
    Filled<ScriptedOutput> output({take(4294967295U)});
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("write(5)", output.notes);
    EXPECT_POSITIONS(0U, 0U, output);
}

TEST(Flush, CountNotTouched_IsZero)
{
    Filled<ScriptedOutput> output({take(5).leavingCount()}, false);
    EXPECT_FALSE(output.flush(false));
    EXPECT_EQ("abcde", output.held());
}

/// Takes what it is handed to a place that outlives it.
class Device : public std::IBinOutputStream
{
public:
    Device(std::string& taken, bool flushesAtItsEnd)
        : IBinOutputStream(true, 8), m_taken(taken), m_flushesAtItsEnd(flushesAtItsEnd)
    {}
    ~Device() override
    {
        if (m_flushesAtItsEnd) flush(false);
    }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        m_taken.append(static_cast<const char*>(data), size);
        written = size;
        return false;
    }

private:
    std::string& m_taken;
    bool m_flushesAtItsEnd;
};

// Kept: a concrete stream that wants to lose nothing flushes itself.
TEST(Destruction, FlushesNothing)
{
    std::string taken;
    auto device = std::make_unique<Device>(taken, false);
    EXPECT_EQ("1 3", writeText(*device, "abc"));
    device.reset();
    EXPECT_EQ("", taken);
}

TEST(Destruction, OfAStreamThatFlushesItself)
{
    std::string taken;
    auto device = std::make_unique<Device>(taken, true);
    EXPECT_EQ("1 3", writeText(*device, "abc"));
    device.reset();
    EXPECT_EQ("abc", taken);
}

} // namespace
