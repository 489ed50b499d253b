// SPDX-License-Identifier: Apache-2.0
//
// The calls of the system follow a script, in a copy of the unit that is compiled for this test.
// What the library's own does with real descriptors is in the tests of its streams and in
// DescriptorKindTest.cpp.

#include "zelposix/Descriptor.h"

#include <cerrno>
#include <csignal>

#include <gtest/gtest.h>

#include "support/ScriptedCalls.h"

namespace {

using posixcore::OTHER;
using posixcore::PIPE;
using posixcore::SOCKET;
using posixcore::Transfer;
using support::fails;
using support::gives;
using support::isHeld;

using Script = support::ScriptedCalls;
constexpr int FD = support::SCRIPTED_FD;

#define EXPECT_TRANSFER(expectedCount, expectedError, call)                                        \
    do {                                                                                           \
        const Transfer transfer = call;                                                            \
        EXPECT_EQ(expectedCount, transfer.count);                                                  \
        EXPECT_EQ(expectedError, transfer.error);                                                  \
    } while (false)

Transfer readFive(bool waits = true)
{
    char data[5];
    return posixcore::readSome(FD, data, sizeof data, waits);
}

Transfer writeFive(posixcore::DescriptorKind kind = OTHER, bool waits = true)
{
    return posixcore::writeSome(kind, FD, "abcde", 5, waits);
}

TEST(Read, GivesWhatThereIs)
{
    Script script{gives(3)};
    EXPECT_TRANSFER(3U, 0, readFive());
    EXPECT_EQ("read(5)", script.calls);
}

TEST(Read, TheEnd_IsNoneAndNoError)
{
    Script script{gives(0), gives(0)};
    EXPECT_TRANSFER(0U, 0, readFive(true));
    EXPECT_TRANSFER(0U, 0, readFive(false));
}

TEST(Read, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), fails(EINTR), gives(5), fails(EINTR), gives(1)};
    EXPECT_TRANSFER(5U, 0, readFive(true));
    EXPECT_TRANSFER(1U, 0, readFive(false));
    EXPECT_EQ("read(5) read(5) read(5) read(5) read(5) read(5)", script.calls);
}

TEST(Read, Unready_WaitsForBytes)
{
    Script script{fails(EAGAIN), gives(1), fails(EAGAIN), gives(1), gives(2)};
    EXPECT_TRANSFER(2U, 0, readFive());
    EXPECT_EQ("read(5) poll(in) read(5) poll(in) read(5)", script.calls);
}

TEST(Read, Unready_WithoutWaitingFails)
{
    Script script{fails(EAGAIN)};
    EXPECT_TRANSFER(0U, EAGAIN, readFive(false));
    EXPECT_EQ("read(5)", script.calls);
}

TEST(Read, Wait_MayBeInterruptedOrFail)
{
    Script script{fails(EAGAIN), fails(EINTR), fails(EAGAIN), fails(ENOMEM)};
    EXPECT_TRANSFER(0U, ENOMEM, readFive());
    EXPECT_EQ("read(5) poll(in) read(5) poll(in)", script.calls);
}

TEST(Read, OtherErrors_Fail)
{
    Script script{fails(EIO), fails(ECONNRESET), fails(EBADF)};
    EXPECT_TRANSFER(0U, EIO, readFive(true));
    EXPECT_TRANSFER(0U, ECONNRESET, readFive(true));
    EXPECT_TRANSFER(0U, EBADF, readFive(false));
    EXPECT_EQ("read(5) read(5) read(5)", script.calls);
}

TEST(Write, TakenAtOnce)
{
    Script script{gives(5), gives(5)};
    EXPECT_TRANSFER(5U, 0, writeFive(OTHER, true));
    EXPECT_TRANSFER(5U, 0, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(abcde)", script.calls);
}

TEST(Write, OfNothing_MakesNoCall)
{
    Script script{};
    EXPECT_TRANSFER(0U, 0, posixcore::writeSome(OTHER, FD, "", 0, true));
    EXPECT_TRANSFER(0U, 0, posixcore::writeSome(PIPE, FD, nullptr, 0, false));
    EXPECT_EQ("", script.calls);
}

TEST(Write, InParts_GoesOnWithTheRest)
{
    Script script{gives(2), gives(1), gives(2)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(cde) write(de)", script.calls);
}

TEST(Write, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), gives(2), fails(EINTR), gives(3)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(abcde) write(abcde) write(cde) write(cde)", script.calls);
}

TEST(Write, WithoutWaiting_IsOneCallThatIsNotInterrupted)
{
    Script script{fails(EINTR), fails(EINTR), gives(2), fails(EINTR), fails(EAGAIN)};
    EXPECT_TRANSFER(2U, 0, writeFive(OTHER, false));
    EXPECT_TRANSFER(0U, EAGAIN, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(abcde) write(abcde) write(abcde) write(abcde)", script.calls);
}

TEST(Write, Unready_WaitsForRoom)
{
    Script script{gives(2), fails(EAGAIN), gives(1), fails(EAGAIN), gives(1), gives(3)};
    EXPECT_TRANSFER(5U, 0, writeFive());
    EXPECT_EQ("write(abcde) write(cde) poll(out) write(cde) poll(out) write(cde)", script.calls);
}

TEST(Write, Wait_MayBeInterruptedOrFail)
{
    Script script{gives(4), fails(EAGAIN), fails(EINTR), fails(EAGAIN), fails(EINVAL)};
    EXPECT_TRANSFER(4U, EINVAL, writeFive());
    EXPECT_EQ("write(abcde) write(e) poll(out) write(e) poll(out)", script.calls);
}

TEST(Write, ErrorOnTheWay_TellsWhatIsOut)
{
    Script script{gives(1), gives(2), fails(ENOSPC), fails(EIO)};
    EXPECT_TRANSFER(3U, ENOSPC, writeFive());
    EXPECT_TRANSFER(0U, EIO, writeFive());
    EXPECT_EQ("write(abcde) write(bcde) write(de) write(abcde)", script.calls);
}

TEST(Write, NothingTaken_IsAnError)
{
    Script script{gives(3), gives(0), gives(0)};
    EXPECT_TRANSFER(3U, EIO, writeFive(OTHER, true));
    EXPECT_TRANSFER(0U, EIO, writeFive(OTHER, false));
    EXPECT_EQ("write(abcde) write(de) write(abcde)", script.calls);
}

#ifdef __LP64__
TEST(Size, OfAllBits_IsOneCall)
{
    Script script{gives(4294967295), gives(4294967295)};
    char data[1] = {};
    EXPECT_TRANSFER(4294967295U, 0, posixcore::readSome(FD, data, 4294967295U, true));
    EXPECT_TRANSFER(4294967295U, 0, posixcore::writeSome(OTHER, FD, data, 4294967295U, true));
    EXPECT_EQ("read(4294967295) write(4294967295)", script.calls);
}
#else
TEST(Size, OfARead_IsWhatItsResultCanTell)
{
    Script script{gives(2147483647), gives(2147483647)};
    char data[1] = {};
    EXPECT_TRANSFER(2147483647U, 0, posixcore::readSome(FD, data, 2147483648U, true));
    EXPECT_TRANSFER(2147483647U, 0, posixcore::readSome(FD, data, 4294967295U, true));
    EXPECT_EQ("read(2147483647) read(2147483647)", script.calls);
}

TEST(Size, OfAWrite_IsWhatItsResultCanTell)
{
    Script script{gives(2147483647), gives(2147483647), fails(EIO)};
    char data[1] = {};
    EXPECT_TRANSFER(4294967294U, EIO, posixcore::writeSome(SOCKET, FD, data, 4294967295U, true));
    EXPECT_EQ("send(2147483647,nosignal) send(2147483647,nosignal) ", script.calls.substr(0, 52));
}
#endif

TEST(Socket, EachSendHasTheFlag)
{
    Script script{gives(2), fails(EINTR), fails(EAGAIN), gives(1), fails(EPIPE)};
    EXPECT_TRANSFER(2U, EPIPE, writeFive(SOCKET));
    EXPECT_EQ("send(abcde,nosignal) send(cde,nosignal) send(cde,nosignal) poll(out)"
              " send(cde,nosignal)",
              script.calls);
}

TEST(Socket, SendFailsWithAnyOtherCode)
{
    Script script{gives(2), fails(EXDEV)};
    EXPECT_TRANSFER(2U, EXDEV, writeFive(SOCKET));
    EXPECT_EQ("send(abcde,nosignal) send(cde,nosignal)", script.calls);
}

TEST(Pipe, HoldsTheSignalBackAroundEachWrite)
{
    Script script{gives(3), gives(2)};
    EXPECT_TRANSFER(5U, 0, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) take restore hold write(de,held) restore", script.calls);
    EXPECT_FALSE(isHeld(SIGPIPE));
}

TEST(Pipe, DoesNotHoldItBackWhileItWaits)
{
    Script script{fails(EAGAIN), gives(1), gives(5)};
    EXPECT_TRANSFER(5U, 0, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) restore poll(out) hold write(abcde,held) restore",
              script.calls);
}

TEST(Pipe, TakesTheSignalAfterABrokenPipe)
{
    Script script{fails(EIO), fails(EAGAIN), fails(EPIPE)};
    EXPECT_TRANSFER(0U, EIO, writeFive(PIPE));
    EXPECT_TRANSFER(0U, EAGAIN, writeFive(PIPE, false));
    EXPECT_EQ("hold write(abcde,held) restore hold write(abcde,held) restore", script.calls);
    script.calls.clear();
    EXPECT_TRANSFER(0U, EPIPE, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) take restore", script.calls);
}

// The reader may go while bytes are on their way.
TEST(Pipe, TakesTheSignalAfterAShortWrite)
{
    Script script{gives(4), gives(0)};
    EXPECT_TRANSFER(4U, 0, writeFive(PIPE, false));
    EXPECT_TRANSFER(0U, EIO, writeFive(PIPE, false));
    EXPECT_EQ("hold write(abcde,held) take restore hold write(abcde,held) take restore",
              script.calls);
}

TEST(Pipe, TakingIsInterrupted_TakesAgain)
{
    Script script{gives(2), fails(EPIPE)};
    script.interruptions = 2;
    EXPECT_TRANSFER(2U, EPIPE, writeFive(PIPE));
    EXPECT_EQ("hold write(abcde,held) take take take restore hold write(cde,held) take restore",
              script.calls);
}

TEST(Others, LeaveTheSignalAlone)
{
    Script script{fails(EPIPE)};
    EXPECT_TRANSFER(0U, EPIPE, writeFive(OTHER));
    EXPECT_EQ("write(abcde)", script.calls);
}

TEST(Kind, FailedCall_IsOtherForNoDescriptorAndPipeElse)
{
    Script script{gives(0), fails(EBADF), fails(ENOMEM)};
    EXPECT_EQ(SOCKET, posixcore::kindOf(FD));
    EXPECT_EQ(OTHER, posixcore::kindOf(FD));
    EXPECT_EQ(PIPE, posixcore::kindOf(FD));
    EXPECT_EQ("fstat fstat fstat", script.calls);
}

TEST(Sync, Interrupted_IsMadeAgain)
{
    Script script{fails(EINTR), fails(EINTR), gives(0), fails(EINTR), fails(ENOSPC)};
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ(ENOSPC, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync fsync fsync fsync", script.calls);
}

TEST(Sync, UnknownToTheDescriptor_IsNoFailure)
{
    Script script{fails(EINVAL), fails(EROFS)};
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ(0, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync", script.calls);
}

TEST(Sync, OtherErrors_FailOnce)
{
    Script script{fails(EIO), fails(EBADF)};
    EXPECT_EQ(EIO, posixcore::sync(FD));
    EXPECT_EQ(EBADF, posixcore::sync(FD));
    EXPECT_EQ("fsync fsync", script.calls);
}

// A second call might close a descriptor of somebody else.
TEST(Close, IsNeverMadeAgain)
{
    Script script{gives(0), fails(EINTR), fails(EIO), fails(EBADF)};
    EXPECT_EQ(0, posixcore::closeOnce(FD));
    EXPECT_EQ(0, posixcore::closeOnce(FD));
    EXPECT_EQ(EIO, posixcore::closeOnce(FD));
    EXPECT_EQ(EBADF, posixcore::closeOnce(FD));
    EXPECT_EQ("close close close close", script.calls);
}

} // namespace
