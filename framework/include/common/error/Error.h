// SPDX-License-Identifier: Apache-2.0
//
// The raising call and the readable list of what was raised. A failing function raises an error
// and returns its failure value; its caller acknowledges the error or raises a further one, which
// the first then has caused. <zel/report.h> fills in the file and line.
//
//     std::ErrorOutput(__FILE__, __LINE__, true)(std::CommonError, 5, "width");
//     fputs(zel_error.getReasonList().c_str(), stderr);

#ifndef ZELCOMMON_COMMON_ERROR_ERROR_H
#define ZELCOMMON_COMMON_ERROR_ERROR_H

#include <cstdarg>
#include <string>
#include <string_view>

#include <common/error/ErrorObject.h>
#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace std {

/// Raises errors from one place of the source. Short-lived; never leaves its thread.
class ZEL_EXPORT ErrorOutput
{
public:
    /// `file` is of static lifetime. `raise` true starts a new chain of causes: a pending error is
    /// reported as unhandled and dropped. `raise` false adds to the chain, with the pending error
    /// as the cause.
    ErrorOutput(const char* file, int line, bool raise) : m_file(file), m_line(line), m_raise(raise)
    {}

    /// Raises error `id` of `type` in the calling thread's storage. The values behind `id` are what
    /// the row's message consumes; a row without values takes the message as it stands, unformatted
    /// and uncopied. A formatted reason is cut after 254 characters. A null message reads
    /// "<no message>".
    ///
    /// On a thread without a storage the error is recorded in the shared fallback storage, a
    /// warning goes to standard error, a storage is created on the heap for this thread, never to
    /// be freed, and the error is recorded once more, in that one. Without memory for it, that once
    /// more is in the fallback storage too: the first recording is then an unhandled error if
    /// `raise` is true, and the cause of the second if not; the warning comes again unless the
    /// fallback has become the thread's storage. Allocates nothing else. `errno` survives.
    void operator()(const ErrorType& type, int id, ...);

    /// Records a copy of `error` as a new error, with this object's file and line replaced by the
    /// error's own. On a thread without a storage the copy stays in the fallback storage, silently.
    ///
    /// At most 256 characters of the reason are copied; if that many are there, the recorded reason
    /// is not terminated.
    /// Asserts that the error has a type ("m_type"), then goes on without recording anything.
    void operator()(const ErrorObject& error);

private:
    friend class ErrorStorage;

    ZEL_LOCAL void raiseFormatted(const ErrorType& type, int id, const char* message,
                                  va_list values) const;
    ZEL_COLD ZEL_LOCAL void raisePlain(const ErrorType& type, int id, const ErrorID* row) const;
    ZEL_COLD ZEL_LOCAL bool record(const ErrorType& type, int id, const char* reason,
                                   string_view text) const;
    ZEL_COLD ZEL_LOCAL static void provideStorage(const char* reason);
    ZEL_LOCAL static void checkLayout();

    const char* m_file;
    int m_line;
    bool m_raise;
};

/// Reads the calling thread's errors; used through the object `zel_error`.
class ZEL_EXPORT ErrorApi
{
public:
    /// Returns the chain of the calling thread's errors, acknowledged or not, newest first, with
    /// the place of each. Without an error the text is "\n". A null reason or file ends the list
    /// where it stands.
    /// Returns an empty text if there is no memory for the list.
    std::string getReasonList();
};

/// False, in read-only data of the library.
ZEL_EXPORT extern const bool raise_error;

/// 0, in read-only data of the library: a condition that the compiler cannot fold, for macros that
/// are to be free of warnings about constant conditions.
ZEL_EXPORT extern const int PSEUDO_FALSE;

/// Does nothing, out of line: a call that the compiler can neither remove nor see through.
ZEL_EXPORT void PSEUDO_TRUE();

} // namespace std

/// The process-wide access to the calling thread's errors.
ZEL_EXPORT extern std::ErrorApi zel_error;

#endif // ZELCOMMON_COMMON_ERROR_ERROR_H
