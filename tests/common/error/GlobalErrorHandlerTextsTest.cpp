// SPDX-License-Identifier: Apache-2.0
//
// The location and the reason that handlers and default reports get, and what state of the process
// they do not depend on.

#include <common/error/GlobalErrorHandler.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/GroupingLocale.h"
#include "support/ReportKinds.h"

namespace {

using support::reportTitle;
using support::runWithoutAbort;
using support::tell;

template <typename Kind>
class ReportTextsOf : public testing::Test
{};
TYPED_TEST_SUITE(ReportTextsOf, support::ReportKinds, support::ReportKindName);

/// Expects a report with the file `file` to give `location` to a handler, and `shortLocation` in
/// the default report.
template <typename Kind>
void expectLocation(const std::string& file, const std::string& location,
                    const std::string& shortLocation)
{
    const support::ChildResult result = runWithoutAbort([&] {
        Kind::template enlist<tell>();
        Kind::report(file.c_str(), 5, "start", "dry");
    });
    EXPECT_EQ("[" + location + "] [dry]\n" + reportTitle(Kind::TITLE, result) +
                  Kind::body(shortLocation, "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, LocationOf1023Characters_IsWhole)
{
    const std::string location = std::string(1012, 'f') + ":5, start()";
    expectLocation<TypeParam>(std::string(1012, 'f'), location, location);
}

TYPED_TEST(ReportTextsOf, LocationOf1024Characters_IsWhole)
{
    const std::string location = std::string(1013, 'f') + ":5, start()";
    expectLocation<TypeParam>(std::string(1013, 'f'), location, location);
}

TYPED_TEST(ReportTextsOf, LocationOf1025Characters_LosesItsLast)
{
    const std::string location = std::string(1014, 'f') + ":5, start(";
    expectLocation<TypeParam>(std::string(1014, 'f'), location, location);
}

TYPED_TEST(ReportTextsOf, LocationOfMoreCharacters_IsCutAfter1024)
{
    const std::string location(1024, 'f');
    expectLocation<TypeParam>(std::string(2000, 'f'), location, location);
}

TYPED_TEST(ReportTextsOf, Location_IsCutBeforeItIsShortened)
{
    expectLocation<TypeParam>("/build/src/" + std::string(2000, 'f'),
                              "/build/src/" + std::string(1013, 'f'),
                              "src/" + std::string(1013, 'f'));
}

/// Expects a report with the reason `given` to give `seen` to a handler and in the default report.
template <typename Kind>
void expectReason(const std::string& given, const std::string& seen)
{
    const support::ChildResult result = runWithoutAbort([&] {
        Kind::template enlist<tell>();
        Kind::report("pump.cpp", 5, "start", "%s", given.c_str());
    });
    EXPECT_EQ("[pump.cpp:5, start()] [" + seen + "]\n" + reportTitle(Kind::TITLE, result) +
                  Kind::body("pump.cpp:5, start()", "Reason: \"" + seen + "\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, ReasonOf1023Characters_IsWhole)
{
    expectReason<TypeParam>(std::string(1022, 'r') + "!", std::string(1022, 'r') + "!");
}

TYPED_TEST(ReportTextsOf, ReasonOf1024Characters_LosesItsLast)
{
    expectReason<TypeParam>(std::string(1023, 'r') + "!", std::string(1023, 'r'));
}

TYPED_TEST(ReportTextsOf, ReasonOf2000Characters_IsCutAfter1023)
{
    expectReason<TypeParam>(std::string(2000, 'r'), std::string(1023, 'r'));
}

TYPED_TEST(ReportTextsOf, ReasonThatCannotBeFormatted_IsCutThere)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report("pump.cpp", 5, "start", "dry %ls", L"\xdc80");
    });
    EXPECT_EQ("[pump.cpp:5, start()] [dry ]\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, start()", "Reason: \"dry \"\n"),
              result.err);
}

/// Writes into the text that the handler was given.
void overwriteLocation(const char* location, const char*)
{
    strcpy(const_cast<char*>(location), "gone");
}

TYPED_TEST(ReportTextsOf, OverwrittenByAHandler_ReachesOthersUnchanged)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<overwriteLocation>();
        TypeParam::template enlist<tell>();
        TypeParam::template enlist<overwriteLocation>();
        support::reportPump<TypeParam>();
    });
    EXPECT_EQ("[/build/framework/src/pump.cpp:5, start()] [pump is dry]\n" +
                  support::pumpReport<TypeParam>(result),
              result.err);
}

TYPED_TEST(ReportTextsOf, NullFile_EmptiesTheLocation)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report(nullptr, 5, "start", "dry");
    });
    EXPECT_EQ("[] [dry]\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, NullFunction_EndsTheLocationBeforeIt)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report("pump.cpp", 5, nullptr, "dry");
    });
    EXPECT_EQ("[pump.cpp:5, ] [dry]\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, ", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, NullFormat_GivesAnEmptyReason)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report("pump.cpp", 5, "start", nullptr);
    });
    EXPECT_EQ("[pump.cpp:5, start()] []\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, start()", "No reason given\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, EmptyReason_IsNoReason)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report("pump.cpp", 5, "start", "%s", "");
    });
    EXPECT_EQ("[pump.cpp:5, start()] []\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, start()", "No reason given\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, NegativeLineAndEmptyNames)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        TypeParam::report("", -5, "", "dry");
    });
    EXPECT_EQ("[:-5, ()] [dry]\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body(":-5, ()", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, FormatReadsErrno)
{
    const support::ChildResult result = runWithoutAbort([] {
        errno = ENOENT;
        TypeParam::report("pump.cpp", 5, "start", "open: %m");
    });
    EXPECT_EQ(
        reportTitle(TypeParam::TITLE, result) +
            TypeParam::body("pump.cpp:5, start()", "Reason: \"open: No such file or directory\"\n"),
        result.err);
}

void spoilErrno(const char*, const char*)
{
    errno = EBADF;
}

TYPED_TEST(ReportTextsOf, ErrnoSurvives)
{
    const support::ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<spoilErrno>();
        errno = ENOENT;
        support::reportPump<TypeParam>();
        EXPECT_EQ(ENOENT, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TYPED_TEST(ReportTextsOf, StreamSettings_NeitherCountNorChange)
{
    const support::ChildResult result = runWithoutAbort([] {
        std::cerr << std::hex << std::setw(20) << std::setfill('*');
        TypeParam::report("pump.cpp", 12345, "start", "dry");
        EXPECT_EQ(20, std::cerr.width());
        EXPECT_EQ('*', std::cerr.fill());
        EXPECT_EQ(std::ios::hex, std::cerr.flags() & std::ios::basefield);
    });
    EXPECT_EQ(reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:12345, start()", "Reason: \"dry\"\n"),
              result.err);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TYPED_TEST(ReportTextsOf, GroupingLocale_LeavesTheLineAlone)
{
    const support::ChildResult result = runWithoutAbort([] {
        support::setGroupingLocale();
        TypeParam::template enlist<tell>();
        TypeParam::report("pump.cpp", 12345, "start", "dry");
    });
    EXPECT_EQ("[pump.cpp:12345, start()] [dry]\n" + reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:12345, start()", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(ReportTextsOf, StandardErrorClosed_GoesOn)
{
    const support::ChildResult result = runWithoutAbort([] {
        const int standardError = dup(STDERR_FILENO);
        close(STDERR_FILENO);
        support::reportPump<TypeParam>();
        dup2(standardError, STDERR_FILENO);
        support::reportPump<TypeParam>();
    });
    EXPECT_EQ(support::pumpReport<TypeParam>(result), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(ReportTexts, OutOfMemHandlerThatDealsWithIt_LeavesErrno)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atOutOfMem([](const char*, const char*) {
            errno = EBADF;
            return true;
        });
        errno = ENOENT;
        support::reportPump<support::OutOfMem>();
        EXPECT_EQ(ENOENT, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace
