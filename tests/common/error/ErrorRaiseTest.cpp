// SPDX-License-Identifier: Apache-2.0
//
// What a raise does beyond the usual: rows that are searched for, values that do not last or cannot
// be formatted, reports in the midst of it, and a thread whose storage is the fallback storage.

#include <common/error/Error.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"
#include "support/MissingStorage.h"
#include "support/OpenStorage.h"

namespace {

using std::CommonError;
using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using support::chainIds;
using support::ChildResult;
using support::OpenStorage;
using support::runInChild;

/// Starts a chain.
ErrorOutput s_start("pump.cpp", 7, true);
/// Adds to the chain.
ErrorOutput s_on("pump.cpp", 7, false);

constexpr std::ErrorID SPARSE_TABLE[] = {
    {10, "ten", 0},
    {20, "pump %d is dry", 1},
    {30, "%s at %.1f and %c", 3},
    {40, "dry %ls", 1},
};
const std::ErrorType SparseError(SPARSE_TABLE, 4);

/// No character: formatting fails there.
const wchar_t* const NO_TEXT = L"\xdc80";

TEST(ErrorRaise, RowIsSearchedFor)
{
    const ErrorStorage storage(nullptr);
    s_start(SparseError, 10);
    EXPECT_EQ(static_cast<const void*>(SPARSE_TABLE[0].message), ErrorStorage::reason());
    s_start(SparseError, 20, 3);
    EXPECT_STREQ("pump 3 is dry", ErrorStorage::reason());
    EXPECT_EQ(20, ErrorStorage::id());
}

TEST(ErrorRaise, ValuesOfSeveralTypes)
{
    const ErrorStorage storage(nullptr);
    s_start(SparseError, 30, "pump", 2.5, '!');
    EXPECT_STREQ("pump at 2.5 and !", ErrorStorage::reason());
}

TEST(ErrorRaise, ValuesOfSeveralTypes_AreTakenTwiceWithoutAStorage)
{
    const ChildResult result = runInChild([] {
        s_start(SparseError, 30, "pump", 2.5, '!');
        EXPECT_STREQ("pump at 2.5 and !", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::missingStorage(result, "pump at 2.5 and !"), result.err);
}

TEST(ErrorRaise, ValueThatCannotBeFormatted_CutsTheReasonThere)
{
    const ErrorStorage storage(nullptr);
    s_start(TCLAP::Error, 0, "a longer reason");
    errno = 77;
    s_start(SparseError, 40, NO_TEXT);
    EXPECT_EQ(77, errno);
    EXPECT_STREQ("dry ", ErrorStorage::reason());
    EXPECT_EQ(static_cast<const void*>(ErrorStorage::get()->m_buffer), ErrorStorage::reason());
}

TEST(ErrorRaise, ValueThatCannotBeFormatted_WithoutAStorage)
{
    const ChildResult result = runInChild([] {
        s_start(SparseError, 40, NO_TEXT);
        EXPECT_STREQ("dry ", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::missingStorage(result, "dry "), result.err);
}

TEST(ErrorRaise, LongestReason_LeavesTheLastByteOfTheBufferAlone)
{
    const ErrorStorage storage(nullptr);
    s_start(CommonError, 0);
    ErrorStorage::get()->m_buffer[255] = '!';
    s_start(TCLAP::Error, 0, std::string(400, 'x').c_str());
    EXPECT_EQ(std::string(254, 'x'), ErrorStorage::reason());
    EXPECT_EQ('!', ErrorStorage::get()->m_buffer[255]);
}

TEST(ErrorRaise, ReactionReusesTheSlotWithTheValue)
{
    const ErrorStorage storage([](void*, const char*, const ErrorObject*, unsigned int) {
        s_start(TCLAP::Error, 0, "?");
    });
    s_start(TCLAP::Error, 0, "dry");
    s_start(CommonError, 5, ErrorStorage::reason());
    EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::reason());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

/// Has a warning handler start a chain while `raise` overwrites the oldest of eight errors. Returns
/// the ids of the chain.
template <typename Raise>
std::string overwriteWhileHandlerRaises(Raise raise)
{
    return runInChild([&] {
               std::GlobalErrorHandler::atWarning(
                   [](const char*, const char*) { s_start(TCLAP::Error, 1, "told"); });
               const OpenStorage storage;
               support::addToChain(10, 17);
               raise();
               printf("%s, count %d: %s", chainIds().c_str(), storage.m_count,
                      ErrorStorage::reason());
           })
        .out;
}

TEST(ErrorRaise, WarningHandlerRaises)
{
    EXPECT_EQ("0 1, count 2: Out of heap memory",
              overwriteWhileHandlerRaises([] { s_on(CommonError, 0); }));
    EXPECT_EQ("5 1, count 2: Invalid parameter: width",
              overwriteWhileHandlerRaises([] { s_on(CommonError, 5, "width"); }));
}

/// Binds the calling thread to the fallback storage, fills it, and has a warning handler raise
/// while `raise` overwrites its oldest error. Returns the ids of the chain.
template <typename Raise>
std::string overwriteInTheFallbackWhileHandlerRaises(Raise raise)
{
    return runInChild([&] {
               support::addToChain(10, 17);
               std::GlobalErrorHandler::atWarning(
                   [](const char*, const char*) { s_start(TCLAP::Error, 1, "told"); });
               raise();
               printf("%s: %s", chainIds().c_str(), ErrorStorage::reason());
           })
        .out;
}

TEST(ErrorRaise, WarningHandlerRaises_ThreadBoundToTheFallbackStorage)
{
    EXPECT_EQ("0 17 16 15 14 13 12 11: Out of heap memory",
              overwriteInTheFallbackWhileHandlerRaises([] { s_on(CommonError, 0); }));
    EXPECT_EQ("5 17 16 15 14 13 12 11: Invalid parameter: width",
              overwriteInTheFallbackWhileHandlerRaises([] { s_on(CommonError, 5, "width"); }));
}

TEST(ErrorRaise, ThreadBoundToTheFallbackStorage_IsNotWarned)
{
    const ChildResult result = runInChild([] {
        support::addToChain(10);
        s_on(CommonError, 5, ErrorStorage::reason());
        s_on(CommonError, 0);
        EXPECT_EQ("0 5 10", chainIds());
        EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::get()->m_cause->reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

} // namespace
