// SPDX-License-Identifier: Apache-2.0
//
// The readable list of the calling thread's error chain, written piece by piece into whatever takes
// pieces: a string for callers, a stream for reports that must not allocate.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_REASONLIST_H
#define ZELCOMMON_SRC_COMMON_ERROR_REASONLIST_H

#include <string_view>

#include <common/error/ErrorStorage.h>

#include "ErrorText.h"
#include "FixedText.h"

namespace errorcore {

/// Writes one error. Returns false at a null text: as with an output stream, the list ends there.
template <typename Sink>
bool writeError(Sink& sink, const std::ErrorObject& error)
{
    const Decimal id(error.id());
    sink.append("Error (ID ");
    sink.append({id.text(), id.length()});
    sink.append("):\n\t");

    const std::string_view reason = reasonOf(error);
    if (reason.data() == nullptr) return false;
    sink.append(reason);
    sink.append("\n\tLocation: ");

    const char* const file = shortSourcePath(error.m_file);
    if (file == nullptr) return false;
    sink.append(file);

    const Decimal line(error.m_line);
    sink.append(":");
    sink.append({line.text(), line.length()});
    return true;
}

/// Writes the errors from `error` along their causes, at most as many as a chain holds. Returns
/// false at a null text.
template <typename Sink>
bool writeChain(Sink& sink, const std::ErrorObject* error)
{
    for (int written = 0; written < std::ErrorStorage::CAPACITY; ++written) {
        if (written > 0) sink.append("\n\twas caused by\n");
        if (!writeError(sink, *error)) return false;
        error = error->m_cause;
        if (error == nullptr) break;
    }
    return true;
}

/// Writes the calling thread's chain, acknowledged or not, newest first. `sink` needs
/// `append(std::string_view)`.
template <typename Sink>
void writeReasonList(Sink& sink)
{
    if (std::ErrorStorage::isError(false) && !writeChain(sink, std::ErrorStorage::get())) return;
    sink.append("\n");
}

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_REASONLIST_H
