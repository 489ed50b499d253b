// SPDX-License-Identifier: Apache-2.0
//
// The errors of a stream over the operating system, as text.

#ifndef ZELCOMMON_TESTS_SUPPORT_ERRORCHAIN_H
#define ZELCOMMON_TESTS_SUPPORT_ERRORCHAIN_H

#include <string>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>
#include <zelposix/PosixError.h>

namespace support {

/// The chain of a stream that has reached its end.
constexpr const char* END_CHAIN =
    "StreamError 2: end of binary i/o stream has been reached. no more i/o possible\n";

/// The chain of the calling thread's errors, acknowledged or not, newest first, a line for each:
/// "PosixError 1: read would block".
inline std::string chain()
{
    std::string lines;
    for (const std::ErrorObject* error = std::ErrorStorage::get();
         error != nullptr && error->m_type != nullptr; error = error->m_cause) {
        lines += error->equals(std::IBinStreamBase::StreamError) ? "StreamError " : "";
        lines += error->equals(zel::PosixError) ? "PosixError " : "";
        lines += std::to_string(error->id()) + ": " + error->reason() + "\n";
    }
    return lines;
}

/// Returns `chain()`, and acknowledges it.
inline std::string takeChain()
{
    std::string lines = chain();
    std::ErrorStorage::ack();
    return lines;
}

/// The row of the pending `StreamError` and the text of the `PosixError` that alone is its cause:
/// "1 read failed: Input/output error (errno 5)". "" if nothing is pending, and the chain if it is
/// another one. Acknowledges it.
inline std::string takeFailure()
{
    if (!std::ErrorStorage::isError(true)) return "";
    const std::ErrorObject& error = *std::ErrorStorage::get();
    const std::ErrorObject* const cause = error.m_cause;
    const bool isFailure = error.equals(std::IBinStreamBase::StreamError) && cause != nullptr &&
                           cause->equals(zel::PosixError) && cause->m_cause == nullptr;
    if (!isFailure) return takeChain();
    std::ErrorStorage::ack();
    return std::to_string(error.id()) + " " + cause->reason();
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_ERRORCHAIN_H
