// SPDX-License-Identifier: Apache-2.0
//
// std::GlobalErrorHandler is where the whole process reports what no return value can carry: failed
// assertions, fatal aborts, warnings and exhausted memory. Registered handlers are called newest
// first, then a default report goes to standard error. Reports allocate nothing.
//
//     std::GlobalErrorHandler::atWarning(countWarnings);
//     std::GlobalErrorHandler::doWarning(__FILE__, __LINE__, __func__, "retry %d", attempt);

#ifndef ZELCOMMON_COMMON_ERROR_GLOBALERRORHANDLER_H
#define ZELCOMMON_COMMON_ERROR_GLOBALERRORHANDLER_H

#include <zel/attributes.h>

namespace std {

/// The process-wide report entry points and their handler tables.
///
/// In all reports `location` is "FILE:LINE, FUNCTION()", cut after 1024 characters; a null file
/// gives the empty text, and a null function a text that ends in ", ". `reason` is the formatted
/// message, cut after 1023 characters; a null `format` gives the empty text. Both live until the
/// handler returns.
///
/// Any thread may register and report at any time; there is no lock but that of the stream that a
/// default report writes to. `errno` survives a report, and a cancellation of the thread waits
/// until it is over. A handler may report, register and raise errors itself. Not async-signal-safe.
class ZEL_EXPORT GlobalErrorHandler
{
public:
    /// Told of a fatal condition, a failed assertion or a warning. `condition` is the text of the
    /// expression that was false.
    /// @{
    using AbortHandler = void (*)(const char* location, const char* reason);
    using AssertHandler = void (*)(const char* condition, const char* location, const char* reason);
    using WarningHandler = void (*)(const char* location, const char* reason);
    /// @}
    /// Returns true if it dealt with the condition (freed memory, say): dispatch stops there.
    using OutOfMemHandler = bool (*)(const char* location, const char* reason);

    /// Number of handlers that each kind has room for.
    static constexpr int MAX_HANDLERS = 8;

    /// Registers a handler for the rest of the process; registered twice, it is called twice. A
    /// handler that is registered during a report is not called by that report. A null handler
    /// takes its place and is never called.
    /// Returns false (0) if the handler was stored. Returns
    /// true (1) if the table was full and the handler was refused.
    static bool atAbort(AbortHandler handler);
    static bool atAssert(AssertHandler handler);     ///< As `atAbort`.
    static bool atWarning(WarningHandler handler);   ///< As `atAbort`.
    static bool atOutOfMem(OutOfMemHandler handler); ///< As `atAbort`.

    /// Reports a fatal condition to the abort handlers and `defaultAbortHandler`. Ends the process
    /// if `s_disable_abort` is false, and returns otherwise.
    static void doAbort(const char* file, int line, const char* function, const char* format, ...)
        ZEL_PRINTF_FORMAT(4, 5);

    /// Reports a failed assertion to the assert handlers and `defaultAssertHandler` if `condition`
    /// is false; does nothing, not even format, if it is true. Always returns: the caller goes on
    /// with a fallback of its own.
    static void doAssert(bool condition, const char* conditionText, const char* file, int line,
                         const char* function, const char* format, ...) ZEL_PRINTF_FORMAT(6, 7);

    /// Reports a warning to the warning handlers and `defaultWarningHandler`. Always returns.
    static void doWarning(const char* file, int line, const char* function, const char* format, ...)
        ZEL_PRINTF_FORMAT(4, 5);

    /// Reports exhausted memory to the out-of-memory handlers. Returns as soon as one of them
    /// returns true; the caller may then retry. Otherwise goes on with `defaultOutOfMemHandler`,
    /// ends the process if `s_disable_abort` is false, and returns otherwise.
    static void doOutOfMem(const char* file, int line, const char* function, const char* format,
                           ...) ZEL_PRINTF_FORMAT(4, 5);

    /// The default reports, public so that a handler may chain to them: title with process and
    /// thread, location, reason and the calling thread's unacknowledged error chain, on standard
    /// error, which is then flushed. The abort report gives the chain before the reason, the others
    /// after it. A null text is printed as "(null)", a null reason like an empty one.
    /// @{
    static void defaultAbortHandler(const char* location, const char* reason);
    static void defaultAssertHandler(const char* condition, const char* location,
                                     const char* reason);
    static void defaultWarningHandler(const char* location, const char* reason);
    /// @}
    /// As the other default reports, and returns false.
    static bool defaultOutOfMemHandler(const char* location, const char* reason);

    /// The handlers in order of registration, empty slots null.
    /// @{
    static AbortHandler s_abort_handlers[MAX_HANDLERS];
    static AssertHandler s_assert_handlers[MAX_HANDLERS];
    static WarningHandler s_warning_handlers[MAX_HANDLERS];
    static OutOfMemHandler s_outofmem_handlers[MAX_HANDLERS];
    /// @}

    /// How often a registration of each kind was attempted, refused attempts included.
    /// @{
    static int s_num_abort_handlers;
    static int s_num_assert_handlers;
    static int s_num_warning_handlers;
    static int s_num_outofmem_handlers;
    /// @}

    /// If true, `doAbort` and `doOutOfMem` return instead of ending the process. For test harnesses
    /// and the like, set before the first report; the library never writes it.
    static bool s_disable_abort;
};

} // namespace std

#endif // ZELCOMMON_COMMON_ERROR_GLOBALERRORHANDLER_H
