// SPDX-License-Identifier: Apache-2.0
//
// The four kinds of reports behind one form, so that a typed test runs with each of them. Handlers
// write to standard error, where the default report follows, so that one text shows the order.

#ifndef ZELCOMMON_TESTS_SUPPORT_REPORTKINDS_H
#define ZELCOMMON_TESTS_SUPPORT_REPORTKINDS_H

#include <cstdio>
#include <functional>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace support {

/// What a handler does, whatever its kind.
using Act = void (*)(const char* location, const char* reason);

/// Writes `NAME`.
template <char NAME>
void mark(const char*, const char*)
{
    fputc(NAME, stderr);
}

/// Writes "[LOCATION] [REASON]\n".
inline void tell(const char* location, const char* reason)
{
    fprintf(stderr, "[%s] [%s]\n", location, reason);
}

// The formats are literals of the tests.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// Each kind: its title, and the rest of its default report without an error context; its count and
// table; registration of a handler that does `ACT`; the report itself and its default.

struct Abort
{
    static constexpr const char* NAME = "Abort";
    static constexpr const char* TITLE = "Abort was called";
    static constexpr auto& COUNT = std::GlobalErrorHandler::s_num_abort_handlers;
    static constexpr auto& TABLE = std::GlobalErrorHandler::s_abort_handlers;

    static std::string body(const std::string& location, const std::string& reasonLine)
    {
        return "Location: " + location + "\nNo error context set\n" + reasonLine;
    }
    template <Act ACT>
    static bool enlist()
    {
        return std::GlobalErrorHandler::atAbort(ACT);
    }
    template <typename... Values>
    static void report(const char* file, int line, const char* function, const char* format,
                       Values... values)
    {
        std::GlobalErrorHandler::doAbort(file, line, function, format, values...);
    }
    static void defaultReport(const char* location, const char* reason)
    {
        std::GlobalErrorHandler::defaultAbortHandler(location, reason);
    }
};

struct Assert
{
    static constexpr const char* NAME = "Assert";
    static constexpr const char* TITLE = "Assert failed";
    static constexpr auto& COUNT = std::GlobalErrorHandler::s_num_assert_handlers;
    static constexpr auto& TABLE = std::GlobalErrorHandler::s_assert_handlers;

    static std::string body(const std::string& location, const std::string& reasonLine)
    {
        return "Location: " + location + "\nCondition: \"level > 0\"\n" + reasonLine +
               "No error context set\n";
    }
    template <Act ACT>
    static bool enlist()
    {
        return std::GlobalErrorHandler::atAssert(
            [](const char*, const char* location, const char* reason) { ACT(location, reason); });
    }
    template <typename... Values>
    static void report(const char* file, int line, const char* function, const char* format,
                       Values... values)
    {
        std::GlobalErrorHandler::doAssert(false, "level > 0", file, line, function, format,
                                          values...);
    }
    static void defaultReport(const char* location, const char* reason)
    {
        std::GlobalErrorHandler::defaultAssertHandler("level > 0", location, reason);
    }
};

struct Warning
{
    static constexpr const char* NAME = "Warning";
    static constexpr const char* TITLE = "Warning triggered";
    static constexpr auto& COUNT = std::GlobalErrorHandler::s_num_warning_handlers;
    static constexpr auto& TABLE = std::GlobalErrorHandler::s_warning_handlers;

    static std::string body(const std::string& location, const std::string& reasonLine)
    {
        return "Location: " + location + "\n" + reasonLine + "No error context set\n";
    }
    template <Act ACT>
    static bool enlist()
    {
        return std::GlobalErrorHandler::atWarning(ACT);
    }
    template <typename... Values>
    static void report(const char* file, int line, const char* function, const char* format,
                       Values... values)
    {
        std::GlobalErrorHandler::doWarning(file, line, function, format, values...);
    }
    static void defaultReport(const char* location, const char* reason)
    {
        std::GlobalErrorHandler::defaultWarningHandler(location, reason);
    }
};

struct OutOfMem
{
    static constexpr const char* NAME = "OutOfMem";
    static constexpr const char* TITLE = "Out of memory encountered";
    static constexpr auto& COUNT = std::GlobalErrorHandler::s_num_outofmem_handlers;
    static constexpr auto& TABLE = std::GlobalErrorHandler::s_outofmem_handlers;

    static std::string body(const std::string& location, const std::string& reasonLine)
    {
        return "Location: " + location + "\n" + reasonLine + "No error context set\n";
    }
    /// The handler leaves the condition to the others.
    template <Act ACT>
    static bool enlist()
    {
        return std::GlobalErrorHandler::atOutOfMem([](const char* location, const char* reason) {
            ACT(location, reason);
            return false;
        });
    }
    template <typename... Values>
    static void report(const char* file, int line, const char* function, const char* format,
                       Values... values)
    {
        std::GlobalErrorHandler::doOutOfMem(file, line, function, format, values...);
    }
    static void defaultReport(const char* location, const char* reason)
    {
        EXPECT_FALSE(std::GlobalErrorHandler::defaultOutOfMemHandler(location, reason));
    }
};

#pragma GCC diagnostic pop

using ReportKinds = testing::Types<Abort, Assert, Warning, OutOfMem>;

struct ReportKindName
{
    template <typename Kind>
    static std::string GetName(int)
    {
        return Kind::NAME;
    }
};

/// Runs `body` in a child in which no report ends the process.
inline ChildResult runWithoutAbort(const std::function<void()>& body)
{
    return runInChild([&] {
        std::GlobalErrorHandler::s_disable_abort = true;
        body();
    });
}

/// A report like any other.
template <typename Kind>
void reportPump()
{
    Kind::report("/build/framework/src/pump.cpp", 5, "start", "%s is dry", "pump");
}

/// The default report of `reportPump`.
template <typename Kind>
std::string pumpReport(const ChildResult& result)
{
    return reportTitle(Kind::TITLE, result) +
           Kind::body("src/pump.cpp:5, start()", "Reason: \"pump is dry\"\n");
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_REPORTKINDS_H
