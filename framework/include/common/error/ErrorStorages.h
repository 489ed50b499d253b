// SPDX-License-Identifier: Apache-2.0
//
// The storage kinds that a thread puts on its stack, one for each reaction to an error that nobody
// acknowledged.
//
//     std::AbortErrorStorage errors;       // in a test: an ignored error ends the process
//     runAll();

#ifndef ZELCOMMON_COMMON_ERROR_ERRORSTORAGES_H
#define ZELCOMMON_COMMON_ERROR_ERRORSTORAGES_H

#include <common/error/ErrorStorage.h>
#include <zel/attributes.h>

namespace std {

/// Prints unhandled errors to standard output.
class ZEL_EXPORT StdoutDumpErrorStorage : public ErrorStorage
{
public:
    StdoutDumpErrorStorage();
    ~StdoutDumpErrorStorage();
};

/// Prints an unhandled error to standard output and ends the process.
class ZEL_EXPORT AbortErrorStorage : public ErrorStorage
{
public:
    AbortErrorStorage();
};

/// Is to report unhandled errors on a trace channel; for now prints a placeholder line and the
/// errors to standard output.
class ZEL_EXPORT TraceErrorStorage : public ErrorStorage
{
public:
    /// `channel` is the id of the trace channel to report on.
    explicit TraceErrorStorage(int channel);

    /// Returns the id of the trace channel.
    int getChannel() const;

private:
    int m_channel;
};

/// Hands unhandled errors to a reaction of the user's own.
class ZEL_EXPORT CustomErrorStorage : public ErrorStorage
{
public:
    /// `action` may chain to the reactions of `ErrorStorage`; a null one does nothing.
    explicit CustomErrorStorage(Action action);
};

} // namespace std

#endif // ZELCOMMON_COMMON_ERROR_ERRORSTORAGES_H
