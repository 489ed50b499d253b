// SPDX-License-Identifier: Apache-2.0
//
// The chains of errors that reading devices leaves.

#ifndef ZELCOMMON_FUZZ_DEVICEIMPORT_DEVICEERRORS_H
#define ZELCOMMON_FUZZ_DEVICEIMPORT_DEVICEERRORS_H

#include <string>

#include <common/error/ErrorStorage.h>

namespace fuzz {

/// The reasons from `error` along its causes.
inline std::string reasonsOf(const std::ErrorObject* error)
{
    std::string reasons;
    for (; error != nullptr; error = error->m_cause)
        reasons += (reasons.empty() ? "" : " <- ") + std::string(error->reason());
    return reasons;
}

/// Returns what is pending, and acknowledges it.
inline std::string takePending()
{
    if (!std::ErrorStorage::isError(true)) return "";
    std::ErrorStorage::ack();
    return reasonsOf(std::ErrorStorage::get());
}

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_DEVICEIMPORT_DEVICEERRORS_H
