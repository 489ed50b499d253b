// SPDX-License-Identifier: Apache-2.0
//
// An error as text, in the words of the reason list, for the headers that hand errors to other
// libraries. Allocates for the text alone.
//
//     puts(zel::errorText(*std::ErrorStorage::get()).c_str());

#ifndef ZELCOMMON_ZEL_ERRORTEXT_H
#define ZELCOMMON_ZEL_ERRORTEXT_H

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <common/error/ErrorObject.h>

namespace zel {

/// Returns the reason up to its terminator, and never beyond the error's own buffer, which a copied
/// reason may fill to the last byte. Returns a view of null for a null reason. Valid as long as
/// the error keeps it.
inline std::string_view errorReason(const std::ErrorObject& error)
{
    if (error.m_reason == nullptr) return {};
    if (error.m_reason != error.m_buffer) return error.m_reason;
    return {error.m_buffer, strnlen(error.m_buffer, sizeof error.m_buffer)};
}

/// Returns the part of `path` from its first directory "src" or "include" on that has a separator
/// before it, "/" or "\", and all of it if there is none. Requires that `path` is not null.
inline const char* shortSourcePath(const char* path)
{
    constexpr std::string_view separators = "/\\";
    const std::string_view whole = path;
    std::size_t at = whole.find_first_of(separators);
    while (at != std::string_view::npos) {
        const std::size_t end = whole.find_first_of(separators, ++at);
        const std::string_view name = whole.substr(at, end - at);
        if (end != std::string_view::npos && (name == "src" || name == "include")) return path + at;
        at = end;
    }
    return path;
}

/// Returns what the reason list has for this error, without its causes and the end of the line:
/// "Error (ID 3):\n\tPump is dry\n\tLocation: src/pump.cpp:12". A null reason or file ends the text
/// where it stands. Throws `bad_alloc` without memory for it.
inline std::string errorText(const std::ErrorObject& error)
{
    std::string text = "Error (ID " + std::to_string(error.m_id) + "):\n\t";
    const std::string_view reason = errorReason(error);
    if (reason.data() == nullptr) return text;
    text.append(reason).append("\n\tLocation: ");
    if (error.m_file == nullptr) return text;
    return text.append(shortSourcePath(error.m_file)) + ":" + std::to_string(error.m_line);
}

} // namespace zel

#endif // ZELCOMMON_ZEL_ERRORTEXT_H
