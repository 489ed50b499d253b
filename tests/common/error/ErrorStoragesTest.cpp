// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorStorages.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <type_traits>

#include <common/error/Error.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

using support::ChildResult;
using support::reportTitle;
using support::runInChild;

static_assert(!std::is_polymorphic_v<std::StdoutDumpErrorStorage>);
static_assert(!std::is_polymorphic_v<std::AbortErrorStorage>);
static_assert(!std::is_polymorphic_v<std::TraceErrorStorage>);
static_assert(!std::is_polymorphic_v<std::CustomErrorStorage>);
static_assert(sizeof(std::StdoutDumpErrorStorage) == sizeof(std::ErrorStorage));
static_assert(sizeof(std::AbortErrorStorage) == sizeof(std::ErrorStorage));
static_assert(sizeof(std::CustomErrorStorage) == sizeof(std::ErrorStorage));
#ifndef __LP64__
static_assert(sizeof(std::TraceErrorStorage) == 2332);
#endif

/// Shows what a storage kind sets up.
template <typename Kind>
struct Opened : Kind
{
    using Kind::Kind;
    std::ErrorStorage::Action action() const { return this->m_action; }
    void* data() const { return this->m_data; }
    int count() const { return this->m_count; }
};

void raise(bool startChain, int line, const char* text)
{
    std::ErrorOutput("pump.cpp", line, startChain)(TCLAP::Error, 0, text);
}

/// Raises `count` errors, each on top of the one before, from line 1 on.
void raiseChain(int count)
{
    for (int line = 1; line <= count; ++line)
        raise(false, line, "link");
}

/// What a dump shows of an error behind its reason, if the child of `result` recorded it.
std::string place(const ChildResult& result, const char* line)
{
    return " [in process/thread '" + std::to_string(result.pid) + "/" + support::threadText() +
           "', file 'pump.cpp', line " + line + "]\n";
}

TEST(ErrorStorages, StdoutDumpKind)
{
    const Opened<std::StdoutDumpErrorStorage> storage;
    EXPECT_EQ(&std::ErrorStorage::action_dump_to_stdout, storage.action());
    EXPECT_EQ(nullptr, storage.data());
}

TEST(ErrorStorages, AbortKind)
{
    const Opened<std::AbortErrorStorage> storage;
    EXPECT_EQ(&std::ErrorStorage::action_dump_and_abort, storage.action());
    EXPECT_EQ(nullptr, storage.data());
}

TEST(ErrorStorages, TraceKind)
{
    const Opened<std::TraceErrorStorage> storage(7);
    EXPECT_EQ(&std::ErrorStorage::action_trace, storage.action());
    EXPECT_EQ(static_cast<const void*>(&storage), storage.data());
    EXPECT_EQ(7, storage.getChannel());
}

TEST(ErrorStorages, TraceKind_AnyChannel)
{
    const std::TraceErrorStorage lowest(INT_MIN);
    const std::TraceErrorStorage highest(INT_MAX);
    EXPECT_EQ(INT_MIN, lowest.getChannel());
    EXPECT_EQ(INT_MAX, highest.getChannel());
}

struct Handed
{
    int calls = 0;
    void* data = nullptr;
    std::string text;
    const std::ErrorObject* error = nullptr;
    unsigned int count = 0;
};
Handed s_handed;

void remember(void* data, const char* text, const std::ErrorObject* error, unsigned int count)
{
    s_handed = {s_handed.calls + 1, data, text, error, count};
}

TEST(ErrorStorages, CustomKind_HandsOverTheChain)
{
    s_handed = {};
    s_handed.data = &s_handed;
    const Opened<std::CustomErrorStorage> storage(remember);
    EXPECT_EQ(nullptr, storage.data());
    raiseChain(2);
    const std::ErrorObject* const newest = std::ErrorStorage::get();
    raise(true, 3, "next");
    EXPECT_EQ(1, s_handed.calls);
    EXPECT_EQ(nullptr, s_handed.data);
    EXPECT_EQ("unhandled error", s_handed.text);
    EXPECT_EQ(newest, s_handed.error);
    EXPECT_EQ(2U, s_handed.count);
}

TEST(ErrorStorages, CustomKind_NullAction_DoesNothing)
{
    const Opened<std::CustomErrorStorage> storage(nullptr);
    raise(true, 1, "first");
    raise(true, 2, "second");
    EXPECT_STREQ("second", std::ErrorStorage::reason());
    EXPECT_EQ(1, storage.count());
}

TEST(ErrorStorages, EachKindBindsItselfAndUnbinds)
{
    const std::StdoutDumpErrorStorage outermost;
    raise(true, 1, "outermost");
    {
        const std::AbortErrorStorage second;
        EXPECT_FALSE(std::ErrorStorage::isError(false));
        const std::TraceErrorStorage third(1);
        const std::CustomErrorStorage innermost(remember);
        raise(true, 2, "innermost");
        EXPECT_STREQ("innermost", std::ErrorStorage::reason());
    }
    EXPECT_STREQ("outermost", std::ErrorStorage::reason());
    EXPECT_TRUE(std::ErrorStorage::isError(true));
}

TEST(ErrorStorages, DestructionDoesNotReact)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage dumping;
        raise(true, 1, "first");
        const std::AbortErrorStorage aborting;
        raise(true, 2, "second");
        const std::TraceErrorStorage tracing(1);
        raise(true, 3, "third");
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TEST(StdoutDumpErrorStorage, SingleError)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raise(true, 7, "first");
        raise(true, 8, "second");
    });
    EXPECT_EQ("unhandled error: first" + place(result, "7"), result.out);
    EXPECT_EQ("", result.err);
}

TEST(StdoutDumpErrorStorage, Acknowledged_PrintsNothing)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raise(true, 7, "first");
        std::ErrorStorage::ack();
        raise(true, 8, "second");
    });
    EXPECT_EQ("", result.out);
}

TEST(StdoutDumpErrorStorage, ChainOfThree_NewestFirst)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raise(true, 1, "oldest");
        raise(false, 2, "middle");
        raise(false, 3, "newest");
        raise(true, 4, "next");
    });
    EXPECT_EQ("unhandled error (linked):\n"
              "   1: newest" +
                  place(result, "3") + "   2: middle" + place(result, "2") + "   3: oldest" +
                  place(result, "1"),
              result.out);
}

/// The lines of a dump of eight errors whose newest was raised at line `newest`.
std::string eightLinks(const ChildResult& result, int newest)
{
    const auto line = [&](const char* number, int behind) {
        return std::string("   ") + number + ": link" +
               place(result, std::to_string(newest - behind).c_str());
    };
    return "unhandled error (linked):\n" + line("1", 0) + line("2", 1) + line("3", 2) +
           line("4", 3) + line("5", 4) + line("6", 5) + line("7", 6) + line("8", 7);
}

TEST(StdoutDumpErrorStorage, ChainOfEight_NothingOverwritten)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raiseChain(8);
        raise(true, 20, "next");
    });
    EXPECT_EQ(eightLinks(result, 8), result.out);
}

TEST(StdoutDumpErrorStorage, ChainOfNine_OneOverwritten)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raiseChain(9);
        raise(true, 20, "next");
    });
    EXPECT_EQ(eightLinks(result, 9) + "1 old attachment(s) overwritten\n", result.out);
}

TEST(StdoutDumpErrorStorage, ChainOfTen_TwoOverwritten)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        raiseChain(10);
        raise(true, 20, "next");
    });
    EXPECT_EQ(eightLinks(result, 10) + "2 old attachment(s) overwritten\n", result.out);
}

TEST(AbortErrorStorage, DumpsReportsAndEndsTheProcess)
{
    const ChildResult result = runInChild([] {
        const std::AbortErrorStorage storage;
        raise(true, 7, "first");
        raise(true, 8, "second");
        std::puts("unreachable");
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("unhandled error: first" + place(result, "7"), result.out);
    EXPECT_EQ(reportTitle("Abort was called", result) +
                  "Location: src/common/error/ErrorStorages:109, action_dump_and_abort()\n"
                  "Current error context:\n"
                  "Error (ID 0):\n"
                  "\tfirst\n"
                  "\tLocation: pump.cpp:7\n"
                  "\n"
                  "Reason: \"unhandled error occured\"\n",
              result.err);
}

TEST(AbortErrorStorage, AbortIsDisabled_GoesOn)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::s_disable_abort = true;
        const Opened<std::AbortErrorStorage> storage;
        raiseChain(2);
        raise(true, 8, "next");
        EXPECT_STREQ("next", std::ErrorStorage::reason());
        EXPECT_EQ(nullptr, std::ErrorStorage::get()->m_cause);
        EXPECT_TRUE(std::ErrorStorage::isError(true));
        EXPECT_EQ(1, storage.count());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("unhandled error (linked):\n"
              "   1: link" +
                  place(result, "2") + "   2: link" + place(result, "1"),
              result.out);
}

TEST(AbortErrorStorage, Acknowledged_GoesOn)
{
    const ChildResult result = runInChild([] {
        const std::AbortErrorStorage storage;
        raise(true, 7, "first");
        std::ErrorStorage::ack();
        raise(true, 8, "second");
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out + result.err);
}

TEST(TraceErrorStorage, PrintsThePlaceholderAndTheDump)
{
    const ChildResult result = runInChild([] {
        const std::TraceErrorStorage storage(7);
        raise(true, 7, "first");
        raise(true, 8, "second");
    });
    EXPECT_EQ("TODO: TRACE THIS\nunhandled error: first" + place(result, "7"), result.out);
    EXPECT_EQ("", result.err);
}

TEST(Dump, LinesOfSeveralThreadsStayWhole)
{
    const support::ChildResult result = support::runInChild([] {
        const auto dump = [] {
            std::ErrorObject error;
            error.m_file = "valve";
            for (int count = 0; count < 200; ++count)
                std::ErrorStorage::action_dump_to_stdout(nullptr, "unhandled error", &error, 1);
        };
        std::thread threads[] = {std::thread(dump), std::thread(dump), std::thread(dump)};
        for (std::thread& thread : threads)
            thread.join();
    });
    const std::string line = "unhandled error:  [in process/thread '0/0', file 'valve', line 0]\n";
    ASSERT_EQ(600 * line.size(), result.out.size());
    for (size_t at = 0; at < result.out.size(); at += line.size())
        ASSERT_EQ(line, result.out.substr(at, line.size()));
}

} // namespace
