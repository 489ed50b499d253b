// SPDX-License-Identifier: Apache-2.0

#include "ErrorText.h"

#include <cstring>

namespace errorcore {

namespace {

constexpr const char* NULL_TEXT = "(null)";

bool isSeparator(char character)
{
    return character == '/' || character == '\\';
}

template <std::size_t SIZE>
bool beginsWithDirectory(const char* path, const char (&name)[SIZE])
{
    constexpr std::size_t LENGTH = SIZE - 1; // without the terminator
    return std::strncmp(path, name, LENGTH) == 0 && isSeparator(path[LENGTH]);
}

} // namespace

const char* shortSourcePath(const char* path)
{
    if (path == nullptr) return path;

    for (const char* at = path; *at != '\0'; ++at) {
        if (!isSeparator(*at)) continue;
        const char* const rest = at + 1;
        if (beginsWithDirectory(rest, "src") || beginsWithDirectory(rest, "include")) return rest;
    }
    return path;
}

std::string_view reasonOf(const std::ErrorObject& error)
{
    if (error.m_reason == nullptr) return {};
    if (error.m_reason != error.m_buffer) return error.m_reason;
    return {error.m_buffer, strnlen(error.m_buffer, sizeof error.m_buffer)};
}

std::string_view reasonToCopy(const std::ErrorObject& error)
{
    if (error.m_reason == nullptr) return "";
    return {error.m_reason, strnlen(error.m_reason, std::ErrorObject::REASON_SIZE)};
}

const char* printable(const char* text)
{
    return text != nullptr ? text : NULL_TEXT;
}

std::string_view printable(std::string_view text)
{
    return text.data() != nullptr ? text : NULL_TEXT;
}

long threadNumber(pthread_t thread)
{
    static_assert(sizeof(pthread_t) == sizeof(long), "no part of a thread id is lost");
    return static_cast<long>(thread);
}

} // namespace errorcore
