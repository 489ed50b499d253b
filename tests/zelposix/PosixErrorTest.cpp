// SPDX-License-Identifier: Apache-2.0

#include <zelposix/PosixError.h>

#include <cerrno>
#include <string>
#include <thread>

#include <common/IBinStreamBase.h>
#include <gtest/gtest.h>
#include <zel/report.h>
#include <zelposix/PosixReport.h>

#include "support/OpenStorage.h"

namespace {

using posixcore::raiseEnd;
using posixcore::raiseFailure;
using std::ErrorObject;
using std::ErrorStorage;
using support::chainIds;
using support::OpenStorage;
using zel::isEndOfStream;
using zel::PosixError;
using zel::wouldBlock;

constexpr auto& StreamError = std::IBinStreamBase::StreamError;

/// The ids that a call which failed with `error` leaves, newest first.
std::string idsOf(int error)
{
    raiseFailure("write", error);
    return chainIds();
}

/// The reason of the newest error's cause.
std::string causeReason()
{
    const ErrorObject* const cause = ErrorStorage::get()->m_cause;
    return cause == nullptr ? "none" : cause->reason();
}

TEST(PosixError, Table)
{
    EXPECT_STREQ("%s failed: %s (errno %d)", PosixError.getMessageString(0));
    EXPECT_EQ(3, PosixError.getArgumentCount(0));
    EXPECT_STREQ("%s would block", PosixError.getMessageString(1));
    EXPECT_EQ(1, PosixError.getArgumentCount(1));
    EXPECT_STREQ("", PosixError.getMessageString(2));
}

TEST(PosixError, IsOfNoOtherFamily)
{
    EXPECT_FALSE(PosixError.isA(StreamError));
    EXPECT_FALSE(PosixError.isA(std::CommonError));
    EXPECT_FALSE(StreamError.isA(PosixError));
}

TEST(Failure, IsCausedByWhatTheSystemSaid)
{
    const OpenStorage errors;
    EXPECT_TRUE(raiseFailure("read", EIO));
    EXPECT_TRUE(ErrorStorage::equals(StreamError));
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());
    ASSERT_EQ("1 0", chainIds());
    EXPECT_TRUE(ErrorStorage::get()->m_cause->equals(PosixError));
    EXPECT_EQ("read failed: Input/output error (errno 5)", causeReason());
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(Failure, WouldBlock_HasARowOfItsOwn)
{
    const OpenStorage errors;
    EXPECT_TRUE(raiseFailure("write", EAGAIN));
    EXPECT_TRUE(ErrorStorage::equals(StreamError));
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());
    ASSERT_EQ("1 1", chainIds());
    EXPECT_TRUE(ErrorStorage::get()->m_cause->equals(PosixError));
    EXPECT_EQ("write would block", causeReason());
}

TEST(Failure, PeerHasBrokenOff)
{
    const OpenStorage errors;
    EXPECT_EQ("0 0", idsOf(EPIPE));
    EXPECT_STREQ("the binary i/o stream is broken", ErrorStorage::reason());
    EXPECT_EQ("write failed: Broken pipe (errno 32)", causeReason());
    EXPECT_EQ("0 0", idsOf(ECONNRESET));
    EXPECT_STREQ("the binary i/o stream is broken", ErrorStorage::reason());
    EXPECT_EQ("write failed: Connection reset by peer (errno 104)", causeReason());
}

TEST(Failure, WhatTheFileCannotDo)
{
    const OpenStorage errors;
    raiseFailure("lseek", ESPIPE);
    EXPECT_EQ("3 0", chainIds());
    EXPECT_STREQ("the requested operation is not supported by the binary i/o stream implementation",
                 ErrorStorage::reason());
    EXPECT_EQ("lseek failed: Illegal seek (errno 29)", causeReason());
}

TEST(Failure, AnythingElse)
{
    const OpenStorage errors;
    EXPECT_EQ("1 0", idsOf(ENOSPC));
    EXPECT_EQ("write failed: No space left on device (errno 28)", causeReason());
    EXPECT_EQ("1 0", idsOf(EINVAL));
    EXPECT_EQ("1 0", idsOf(EBADF));
    EXPECT_EQ("1 0", idsOf(ENOTCONN));
    EXPECT_EQ("1 0", idsOf(ETIMEDOUT));
    EXPECT_EQ("1 0", idsOf(EINTR));
}

TEST(Failure, ErrnoIsWhatTheCallFailedWith)
{
    const OpenStorage errors;
    errno = 0;
    raiseFailure("read", EIO);
    EXPECT_EQ(EIO, errno);
    raiseFailure("read", EAGAIN);
    EXPECT_EQ(EAGAIN, errno);
}

TEST(Failure, StartsANewChain)
{
    static int s_reports;
    s_reports = 0;
    const OpenStorage errors([](void*, const char*, const ErrorObject* error, unsigned int) {
        EXPECT_EQ(7, error->id());
        ++s_reports;
    });
    support::startChain(7);
    raiseFailure("read", EIO);
    EXPECT_EQ("1 0", chainIds());
    EXPECT_EQ(1, s_reports);
}

TEST(End, IsAlone)
{
    const OpenStorage errors;
    support::startChain(7);
    EXPECT_TRUE(raiseEnd());
    EXPECT_TRUE(ErrorStorage::equals(StreamError));
    EXPECT_EQ("2", chainIds());
    EXPECT_STREQ("end of binary i/o stream has been reached. no more i/o possible",
                 ErrorStorage::reason());
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(IsEndOfStream, AtTheEnd)
{
    const OpenStorage errors;
    raiseEnd();
    EXPECT_TRUE(isEndOfStream());
    ErrorStorage::ack();
    EXPECT_TRUE(isEndOfStream());
}

TEST(IsEndOfStream, AcknowledgesNothing)
{
    const OpenStorage errors;
    raiseEnd();
    isEndOfStream();
    wouldBlock();
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ("2", chainIds());
}

TEST(IsEndOfStream, NoError)
{
    OpenStorage errors;
    EXPECT_FALSE(isEndOfStream());
    raiseEnd();
    errors.clear();
    EXPECT_FALSE(isEndOfStream());
}

TEST(IsEndOfStream, OtherErrors)
{
    const OpenStorage errors;
    raiseFailure("read", EIO);
    EXPECT_FALSE(isEndOfStream());
    raiseFailure("read", EAGAIN);
    EXPECT_FALSE(isEndOfStream());
    support::startChain(2); // the number of the end, in another table
    EXPECT_FALSE(isEndOfStream());
}

TEST(IsEndOfStream, BeneathANewerError)
{
    const OpenStorage errors;
    raiseEnd();
    support::addToChain(2);
    EXPECT_FALSE(isEndOfStream());
    ZEL_RAISE_ON(StreamError, 1);
    EXPECT_FALSE(isEndOfStream());
    EXPECT_EQ("1 2 2", chainIds());
}

TEST(IsEndOfStream, OfAnotherThread)
{
    const OpenStorage errors;
    raiseEnd();
    bool isEnd = true;
    bool blocks = true;
    std::thread([&] {
        const OpenStorage others;
        isEnd = isEndOfStream();
        raiseFailure("read", EAGAIN);
        blocks = wouldBlock();
    }).join();
    EXPECT_FALSE(isEnd);
    EXPECT_TRUE(blocks);
    EXPECT_TRUE(isEndOfStream());
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, ACallThatDoesNotWait)
{
    const OpenStorage errors;
    raiseFailure("read", EAGAIN);
    EXPECT_TRUE(wouldBlock());
    ErrorStorage::ack();
    EXPECT_TRUE(wouldBlock());
}

TEST(WouldBlock, NoError)
{
    OpenStorage errors;
    EXPECT_FALSE(wouldBlock());
    raiseFailure("read", EAGAIN);
    errors.clear();
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, OtherFailures)
{
    const OpenStorage errors;
    raiseFailure("read", EIO);
    EXPECT_FALSE(wouldBlock());
    raiseFailure("write", EPIPE);
    EXPECT_FALSE(wouldBlock());
    raiseEnd();
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, WithoutACause)
{
    const OpenStorage errors;
    ZEL_RAISE(StreamError, 1);
    EXPECT_FALSE(wouldBlock());
    ZEL_RAISE(PosixError, 1, "read");
    EXPECT_FALSE(wouldBlock());
    support::startChain(1);
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, CauseOfAnotherFamily)
{
    const OpenStorage errors;
    support::startChain(1); // the number of the row, in another table
    ZEL_RAISE_ON(StreamError, 1);
    EXPECT_EQ("1 1", chainIds());
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, CauseOfAnErrorOfAnotherFamily)
{
    const OpenStorage errors;
    ZEL_RAISE(PosixError, 1, "read");
    support::addToChain(1);
    EXPECT_EQ("1 1", chainIds());
    EXPECT_FALSE(wouldBlock());
}

TEST(WouldBlock, BeneathANewerError)
{
    const OpenStorage errors;
    raiseFailure("read", EAGAIN);
    ZEL_RAISE_ON(StreamError, 1);
    EXPECT_EQ("1 1 1", chainIds());
    EXPECT_FALSE(wouldBlock());
}

} // namespace
