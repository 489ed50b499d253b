// SPDX-License-Identifier: Apache-2.0

#include <common/error/GlobalErrorHandler.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <pthread.h>

#include "../../zelbase/constantInit.h"
#include "../../zelbase/processId-posix.h"
#include "ErrorText.h"
#include "FixedText.h"
#include "ReasonList.h"
#include "ReportGuard.h"

namespace std {

namespace {

constexpr size_t LOCATION_LIMIT = 1024;
using Location = errorcore::FixedText<LOCATION_LIMIT>;

/// What one report tells its handlers, built on the stack.
class Report
{
public:
    ZEL_PRINTF_FORMAT(5, 0)
    Report(const char* file, int line, const char* function, const char* format, va_list values)
    {
        m_location.append(file).append(":").append(line).append(", ").append(function).append("()");
        if (format != nullptr) vsnprintf(m_reason, sizeof m_reason, format, values);
    }

    const Location& location() const { return m_location; }
    const char* reason() const { return m_reason; }

private:
    Location m_location;
    char m_reason[1023 + 1] = {}; // limit + terminator
};

/// Stores `handler` in the next slot of `table`. Returns true if there is none.
template <typename Handler>
bool enlist(Handler (&table)[GlobalErrorHandler::MAX_HANDLERS], int& count, Handler handler)
{
    const int slot = __sync_fetch_and_add(&count, 1);
    // Refused attempts are counted too, so the number may have run over and be negative.
    if (slot < 0 || slot >= GlobalErrorHandler::MAX_HANDLERS) return true;
    __atomic_store_n(&table[slot], handler, __ATOMIC_RELEASE);
    return false;
}

/// Calls `call` with each handler of `table`, newest first, and with a location of its own for
/// each, until one call returns true. Returns whether one did.
template <typename Handler, typename Call>
bool notify(Handler (&table)[GlobalErrorHandler::MAX_HANDLERS], int& count, const Report& report,
            Call call)
{
    // Refused attempts are counted too, and a count that has run over is negative: all slots.
    const auto attempts = static_cast<unsigned int>(__atomic_load_n(&count, __ATOMIC_SEQ_CST));
    unsigned int slot = min<unsigned int>(attempts, GlobalErrorHandler::MAX_HANDLERS);
    while (slot-- > 0) {
        // Empty: a registration that has its number but has not stored its handler yet.
        const Handler handler = __atomic_load_n(&table[slot], __ATOMIC_ACQUIRE);
        if (handler == nullptr) continue;
        const Location location = report.location();
        if (call(handler, location.text())) return true;
    }
    return false;
}

/// Collects small pieces of text for few writes to standard error.
class StandardErrorSink
{
public:
    StandardErrorSink() = default;
    ~StandardErrorSink() { flush(); }
    StandardErrorSink(const StandardErrorSink&) = delete;
    StandardErrorSink& operator=(const StandardErrorSink&) = delete;

    void append(string_view piece)
    {
        while (!piece.empty()) {
            if (m_length == sizeof m_buffer) flush();
            const size_t taken = piece.copy(m_buffer + m_length, sizeof m_buffer - m_length);
            m_length += taken;
            piece.remove_prefix(taken);
        }
    }

private:
    void flush()
    {
        fwrite(m_buffer, 1, m_length, stderr);
        m_length = 0;
    }

    char m_buffer[512];
    size_t m_length = 0;
};

void printHeading(const char* title, const char* location)
{
    fprintf(stderr, "%s in process %d / thread %ld !\n", title, zelbase::processId(),
            errorcore::threadNumber(pthread_self()));
    fprintf(stderr, "Location: %s\n", errorcore::printable(errorcore::shortSourcePath(location)));
}

void printReason(const char* reason)
{
    if (reason != nullptr && *reason != '\0')
        fprintf(stderr, "Reason: \"%s\"\n", reason);
    else
        fputs("No reason given\n", stderr);
}

void printErrorContext()
{
    if (!ErrorStorage::isError(true)) {
        fputs("No error context set\n", stderr);
        return;
    }
    StandardErrorSink sink;
    sink.append("Current error context:\n");
    errorcore::writeReasonList(sink);
    sink.append("\n");
}

} // namespace

ZELCOMMON_CONSTANT_INIT GlobalErrorHandler::AbortHandler
    GlobalErrorHandler::s_abort_handlers[MAX_HANDLERS];
ZELCOMMON_CONSTANT_INIT GlobalErrorHandler::AssertHandler
    GlobalErrorHandler::s_assert_handlers[MAX_HANDLERS];
ZELCOMMON_CONSTANT_INIT GlobalErrorHandler::WarningHandler
    GlobalErrorHandler::s_warning_handlers[MAX_HANDLERS];
ZELCOMMON_CONSTANT_INIT GlobalErrorHandler::OutOfMemHandler
    GlobalErrorHandler::s_outofmem_handlers[MAX_HANDLERS];

ZELCOMMON_CONSTANT_INIT int GlobalErrorHandler::s_num_abort_handlers = 0;
ZELCOMMON_CONSTANT_INIT int GlobalErrorHandler::s_num_assert_handlers = 0;
ZELCOMMON_CONSTANT_INIT int GlobalErrorHandler::s_num_warning_handlers = 0;
ZELCOMMON_CONSTANT_INIT int GlobalErrorHandler::s_num_outofmem_handlers = 0;

ZELCOMMON_CONSTANT_INIT bool GlobalErrorHandler::s_disable_abort = false;

bool GlobalErrorHandler::atAbort(AbortHandler handler)
{
    return enlist(s_abort_handlers, s_num_abort_handlers, handler);
}

bool GlobalErrorHandler::atAssert(AssertHandler handler)
{
    return enlist(s_assert_handlers, s_num_assert_handlers, handler);
}

bool GlobalErrorHandler::atWarning(WarningHandler handler)
{
    return enlist(s_warning_handlers, s_num_warning_handlers, handler);
}

bool GlobalErrorHandler::atOutOfMem(OutOfMemHandler handler)
{
    return enlist(s_outofmem_handlers, s_num_outofmem_handlers, handler);
}

void GlobalErrorHandler::doAbort(const char* file, int line, const char* function,
                                 const char* format, ...)
{
    const errorcore::ReportGuard guard;
    va_list values;
    va_start(values, format);
    const Report report(file, line, function, format, values);
    va_end(values);

    notify(s_abort_handlers, s_num_abort_handlers, report,
           [&](AbortHandler handler, const char* location) {
               handler(location, report.reason());
               return false;
           });
    defaultAbortHandler(report.location().text(), report.reason());
    if (!s_disable_abort) abort();
}

void GlobalErrorHandler::doAssert(bool condition, const char* conditionText, const char* file,
                                  int line, const char* function, const char* format, ...)
{
    if (condition) return;
    const errorcore::ReportGuard guard;
    va_list values;
    va_start(values, format);
    const Report report(file, line, function, format, values);
    va_end(values);

    notify(s_assert_handlers, s_num_assert_handlers, report,
           [&](AssertHandler handler, const char* location) {
               handler(conditionText, location, report.reason());
               return false;
           });
    defaultAssertHandler(conditionText, report.location().text(), report.reason());
}

void GlobalErrorHandler::doWarning(const char* file, int line, const char* function,
                                   const char* format, ...)
{
    const errorcore::ReportGuard guard;
    va_list values;
    va_start(values, format);
    const Report report(file, line, function, format, values);
    va_end(values);

    notify(s_warning_handlers, s_num_warning_handlers, report,
           [&](WarningHandler handler, const char* location) {
               handler(location, report.reason());
               return false;
           });
    defaultWarningHandler(report.location().text(), report.reason());
}

void GlobalErrorHandler::doOutOfMem(const char* file, int line, const char* function,
                                    const char* format, ...)
{
    const errorcore::ReportGuard guard;
    va_list values;
    va_start(values, format);
    const Report report(file, line, function, format, values);
    va_end(values);

    const bool dealtWith = notify(s_outofmem_handlers, s_num_outofmem_handlers, report,
                                  [&](OutOfMemHandler handler, const char* location) {
                                      return handler(location, report.reason());
                                  });
    if (dealtWith) return;
    defaultOutOfMemHandler(report.location().text(), report.reason());
    if (!s_disable_abort) abort();
}

void GlobalErrorHandler::defaultAbortHandler(const char* location, const char* reason)
{
    const errorcore::ReportGuard guard;
    printHeading("Abort was called", location);
    // Kept: only the abort report gives the error context before the reason; its readers match it.
    printErrorContext();
    printReason(reason);
    fflush(stderr);
}

void GlobalErrorHandler::defaultAssertHandler(const char* condition, const char* location,
                                              const char* reason)
{
    const errorcore::ReportGuard guard;
    printHeading("Assert failed", location);
    fprintf(stderr, "Condition: \"%s\"\n", errorcore::printable(condition));
    printReason(reason);
    printErrorContext();
    fflush(stderr);
}

void GlobalErrorHandler::defaultWarningHandler(const char* location, const char* reason)
{
    const errorcore::ReportGuard guard;
    printHeading("Warning triggered", location);
    printReason(reason);
    printErrorContext();
    fflush(stderr);
}

bool GlobalErrorHandler::defaultOutOfMemHandler(const char* location, const char* reason)
{
    const errorcore::ReportGuard guard;
    printHeading("Out of memory encountered", location);
    printReason(reason);
    printErrorContext();
    fflush(stderr);
    return false;
}

} // namespace std
