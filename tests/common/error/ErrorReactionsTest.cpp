// SPDX-License-Identifier: Apache-2.0

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

using std::ErrorStorage;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;

/// An error of process 12 and thread 34.
struct FixedError : std::ErrorObject
{
    FixedError(const char* file, int line, const char* reason,
               const std::ErrorObject* cause = nullptr)
    {
        m_type = &std::CommonError;
        m_file = file;
        m_line = line;
        m_reason = reason;
        m_thread = 34;
        m_process = 12;
        m_cause = cause;
    }
};

/// What `action_dump_to_stdout` prints.
std::string dumped(const std::ErrorObject* error, unsigned int count)
{
    const ChildResult result =
        runInChild([&] { ErrorStorage::action_dump_to_stdout(nullptr, "occasion", error, count); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
    return result.out;
}

/// What a dump prints for an error raised in `file`.
std::string dumpedFrom(const char* file)
{
    const FixedError error(file, 7, "dry");
    return dumped(&error, 1);
}

/// The report of a failed assertion without a reason.
std::string assertReport(const ChildResult& result, const char* location, const char* condition)
{
    return reportTitle("Assert failed", result) +
           "Location: src/common/error/ErrorStorages:" + location + "()\nCondition: \"" +
           condition +
           "\"\n"
           "No reason given\n"
           "No error context set\n";
}

TEST(DumpToStdout, SingleError)
{
    const FixedError error("pump", 7, "dry");
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'pump', line 7]\n",
              dumped(&error, 1));
}

TEST(DumpToStdout, SingleError_NoLineAboutOverwrittenOnes)
{
    const FixedError error("pump", 7, "dry");
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'pump', line 7]\n",
              dumped(&error, 100));
}

TEST(DumpToStdout, NumbersAreSigned)
{
    FixedError error("pump", -7, "dry");
    error.m_process = -12;
    error.m_thread = static_cast<pthread_t>(-34);
    EXPECT_EQ("occasion: dry [in process/thread '-12/-34', file 'pump', line -7]\n",
              dumped(&error, 1));
}

TEST(DumpToStdout, Chain)
{
    const FixedError oldest("old", 1, "oldest");
    const FixedError middle("mid", 2, "middle", &oldest);
    const FixedError newest("new", 3, "newest", &middle);
    EXPECT_EQ("occasion (linked):\n"
              "   1: newest [in process/thread '12/34', file 'new', line 3]\n"
              "   2: middle [in process/thread '12/34', file 'mid', line 2]\n"
              "   3: oldest [in process/thread '12/34', file 'old', line 1]\n",
              dumped(&newest, 3));
}

TEST(DumpToStdout, Chain_EightRecorded_NoneOverwritten)
{
    const FixedError oldest("old", 1, "oldest");
    const FixedError newest("new", 2, "newest", &oldest);
    EXPECT_EQ("occasion (linked):\n"
              "   1: newest [in process/thread '12/34', file 'new', line 2]\n"
              "   2: oldest [in process/thread '12/34', file 'old', line 1]\n",
              dumped(&newest, 8));
}

TEST(DumpToStdout, Chain_NineRecorded_OneOverwritten)
{
    const FixedError oldest("old", 1, "oldest");
    const FixedError newest("new", 2, "newest", &oldest);
    EXPECT_EQ("occasion (linked):\n"
              "   1: newest [in process/thread '12/34', file 'new', line 2]\n"
              "   2: oldest [in process/thread '12/34', file 'old', line 1]\n"
              "1 old attachment(s) overwritten\n",
              dumped(&newest, 9));
}

constexpr const char* EIGHT_LINES = "occasion (linked):\n"
                                    "   1: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   2: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   3: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   4: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   5: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   6: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   7: loop [in process/thread '12/34', file 'pump', line 7]\n"
                                    "   8: loop [in process/thread '12/34', file 'pump', line 7]\n";

TEST(DumpToStdout, CyclicChain_EndsAfterEight)
{
    FixedError error("pump", 7, "loop");
    error.m_cause = &error;
    EXPECT_EQ(EIGHT_LINES, dumped(&error, 8));
    EXPECT_EQ(std::string(EIGHT_LINES) + "2 old attachment(s) overwritten\n", dumped(&error, 10));
}

TEST(DumpToStdout, CycleOfTwo_EndsAfterEight)
{
    FixedError first("pump", 7, "loop");
    FixedError second("pump", 7, "loop", &first);
    first.m_cause = &second;
    EXPECT_EQ(EIGHT_LINES, dumped(&first, 2));
}

TEST(DumpToStdout, FileName_MoreThanFiveComponents)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'b/c/d/e/f', line 7]\n",
              dumpedFrom("a/b/c/d/e/f"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'b/c/d/e/f', line 7]\n",
              dumpedFrom("/a/b/c/d/e/f"));
}

TEST(DumpToStdout, FileName_FiveComponents)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'a/b/c/d/e', line 7]\n",
              dumpedFrom("/a/b/c/d/e"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '/b/c/d/e', line 7]\n",
              dumpedFrom("a/b/c/d/e"));
}

TEST(DumpToStdout, FileName_FewComponents_LosesItsFirstCharacter)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '/b/c', line 7]\n",
              dumpedFrom("a/b/c"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '/b', line 7]\n", dumpedFrom("a/b"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'rc/pump', line 7]\n",
              dumpedFrom("src/pump"));
}

TEST(DumpToStdout, FileName_OneComponent_IsWhole)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'b', line 7]\n", dumpedFrom("b"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '', line 7]\n", dumpedFrom(""));
}

TEST(DumpToStdout, FileName_SlashAlone_IsEmpty)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '', line 7]\n", dumpedFrom("/"));
}

TEST(DumpToStdout, FileName_EmptyComponentsCount)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '/a//b', line 7]\n",
              dumpedFrom("//a//b"));
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '/b//c/', line 7]\n",
              dumpedFrom("a//b//c/"));
}

TEST(DumpToStdout, FileName_Null)
{
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file '(null)', line 7]\n",
              dumpedFrom(nullptr));
}

TEST(DumpToStdout, NullReason)
{
    const FixedError error("pump", 7, nullptr);
    EXPECT_EQ("occasion: (null) [in process/thread '12/34', file 'pump', line 7]\n",
              dumped(&error, 1));
}

TEST(DumpToStdout, NullText)
{
    const FixedError error("pump", 7, "dry");
    const ChildResult result =
        runInChild([&] { ErrorStorage::action_dump_to_stdout(nullptr, nullptr, &error, 1); });
    EXPECT_EQ("(null): dry [in process/thread '12/34', file 'pump', line 7]\n", result.out);
}

TEST(DumpToStdout, TextsAreNoFormats)
{
    const FixedError error("%s", 7, "%d%n");
    const ChildResult result =
        runInChild([&] { ErrorStorage::action_dump_to_stdout(nullptr, "%s%n", &error, 1); });
    EXPECT_EQ("%s%n: %d%n [in process/thread '12/34', file '%s', line 7]\n", result.out);
}

TEST(DumpToStdout, UnterminatedReason_EndsWithItsBuffer)
{
    FixedError error("pump", 7, nullptr);
    std::memset(error.m_buffer, 'x', 256);
    error.m_reason = error.m_buffer;
    EXPECT_EQ("occasion: " + std::string(256, 'x') +
                  " [in process/thread '12/34', file 'pump', line 7]\n",
              dumped(&error, 1));
}

TEST(DumpToStdout, NullError_AssertsAndPrintsNothing)
{
    const ChildResult result =
        runInChild([] { ErrorStorage::action_dump_to_stdout(nullptr, "occasion", nullptr, 9); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(assertReport(result, "60, action_dump_to_stdout", "obj"), result.err);
}

TEST(DumpToStdout, IsFlushed)
{
    const FixedError error("pump", 7, "dry");
    const ChildResult result = runInChild([&] {
        ErrorStorage::action_dump_to_stdout(nullptr, "occasion", &error, 1);
        std::abort();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'pump', line 7]\n", result.out);
}

TEST(Trace, PrintsThePlaceholderAndTheDump)
{
    const FixedError oldest("old", 1, "oldest");
    const FixedError newest("new", 2, "newest", &oldest);
    const ChildResult result = runInChild([&] {
        int data = 0;
        ErrorStorage::action_trace(&data, "occasion", &newest, 9);
        std::abort();
    });
    EXPECT_EQ("TODO: TRACE THIS\n"
              "occasion (linked):\n"
              "   1: newest [in process/thread '12/34', file 'new', line 2]\n"
              "   2: oldest [in process/thread '12/34', file 'old', line 1]\n"
              "1 old attachment(s) overwritten\n",
              result.out);
    EXPECT_EQ("", result.err);
}

TEST(Trace, NullData_AssertsAndGoesOn)
{
    const FixedError error("pump", 7, "dry");
    const ChildResult result =
        runInChild([&] { ErrorStorage::action_trace(nullptr, "occasion", &error, 1); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(assertReport(result, "115, action_trace", "data"), result.err);
    EXPECT_EQ("TODO: TRACE THIS\n"
              "occasion: dry [in process/thread '12/34', file 'pump', line 7]\n",
              result.out);
}

TEST(Trace, NullError_AssertsBehindThePlaceholder)
{
    const ChildResult result = runInChild([] {
        int data = 0;
        ErrorStorage::action_trace(&data, "occasion", nullptr, 1);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("TODO: TRACE THIS\n", result.out);
    EXPECT_EQ(assertReport(result, "60, action_dump_to_stdout", "obj"), result.err);
}

TEST(DumpAndAbort, DumpsAndEndsTheProcess)
{
    const FixedError error("pump", 7, "dry");
    const ChildResult result =
        runInChild([&] { ErrorStorage::action_dump_and_abort(nullptr, "occasion", &error, 1); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("occasion: dry [in process/thread '12/34', file 'pump', line 7]\n", result.out);
    EXPECT_EQ(reportTitle("Abort was called", result) +
                  "Location: src/common/error/ErrorStorages:109, action_dump_and_abort()\n"
                  "No error context set\n"
                  "Reason: \"unhandled error occured\"\n",
              result.err);
}

TEST(DumpAndAbort, NullError_AssertsAndEndsTheProcess)
{
    const ChildResult result =
        runInChild([] { ErrorStorage::action_dump_and_abort(nullptr, "occasion", nullptr, 1); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(assertReport(result, "60, action_dump_to_stdout", "obj") +
                  reportTitle("Abort was called", result) +
                  "Location: src/common/error/ErrorStorages:109, action_dump_and_abort()\n"
                  "No error context set\n"
                  "Reason: \"unhandled error occured\"\n",
              result.err);
}

TEST(Reactions, ErrnoSurvivesAClosedStandardOutput)
{
    const FixedError error("pump", 7, "dry");
    const ChildResult result = runInChild([&] {
        std::GlobalErrorHandler::s_disable_abort = true;
        close(STDOUT_FILENO);
        int data = 0;
        errno = 77;
        ErrorStorage::action_dump_to_stdout(nullptr, "occasion", &error, 1);
        EXPECT_EQ(77, errno);
        ErrorStorage::action_trace(&data, "occasion", &error, 1);
        EXPECT_EQ(77, errno);
        ErrorStorage::action_dump_and_abort(nullptr, "occasion", &error, 1);
        EXPECT_EQ(77, errno);
    });
    EXPECT_EQ(0, result.exitCode);
}

/// A user's own reaction that chains to one of the library.
void announceAndTrace(void* data, const char* text, const std::ErrorObject* error,
                      unsigned int count)
{
    std::printf("%d\n", data == nullptr);
    int own = 0;
    ErrorStorage::action_trace(&own, text, error, count);
}

TEST(Reactions, AUsersReactionMayChainToThem)
{
    const ChildResult result = runInChild([] {
        const std::CustomErrorStorage storage(announceAndTrace);
        bool noStorage = false;
        ErrorStorage::add(true, std::CommonError, 0, "pump", 7, "dry", noStorage);
        ErrorStorage::add(true, std::CommonError, 0, "pump", 8, "wet", noStorage);
    });
    EXPECT_EQ("1\nTODO: TRACE THIS\nunhandled error: dry [in process/thread '" +
                  std::to_string(result.pid) + "/" + support::threadText() +
                  "', file 'pump', line 7]\n",
              result.out);
}

} // namespace
