// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/Channel.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>

#include "FormattedText.h"

namespace tracing {

namespace {

/// Returns a copy of `text`, or nothing if there is no memory for it.
std::optional<std::string> copyOf(const char* text)
{
    try {
        return std::optional<std::string>(std::in_place, text);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

/// Makes the string form's call with a copy of `text`.
void sendCopy(IClient* client, const Channel& channel, short level, short modifiers,
              const char* text)
{
    if (client == nullptr) return;
    if (const std::optional<std::string> copy = copyOf(text))
        client->logMessage(channel, level, modifiers, *copy);
}

/// Formats into a buffer of its own that the client will release, at most `maxLength` - 1
/// characters. Returns null, and has released the buffer, if there is no memory or no client.
///
/// Kept: one byte more than the formatting may use; its last byte is always a terminator.
ZEL_PRINTF_FORMAT(3, 0)
char* formatForClient(const IClient* client, unsigned int maxLength, const char* format,
                      va_list values)
{
    if (maxLength == UINT_MAX) return nullptr; // one more leaves 32 bits
    std::unique_ptr<char[]> text(new (std::nothrow) char[maxLength + 1]);
    if (text == nullptr || client == nullptr) return nullptr;

    if (std::vsnprintf(text.get(), maxLength, format, values) < 0) text[0] = '\0';
    text[maxLength] = '\0';
    return text.release();
}

struct Free
{
    void operator()(void* memory) const { std::free(memory); }
};

/// Pieces joined in memory of its own.
class JoinedPieces
{
public:
    /// Reads pairs of a pointer and a size up to a null pointer.
    explicit JoinedPieces(va_list pieces)
    {
        va_list again;
        va_copy(again, pieces);
        // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI): 0 bytes are a message, too
        if (measure(pieces)) m_bytes.reset(static_cast<char*>(std::malloc(m_size)));
        if (m_bytes != nullptr) fill(again);
        va_end(again);
    }

    /// Null if there was no memory.
    const void* bytes() const { return m_bytes.get(); }
    unsigned int size() const { return m_size; }

private:
    /// Returns false if the sum leaves 32 bits.
    bool measure(va_list pieces)
    {
        while (va_arg(pieces, const void*) != nullptr)
            if (__builtin_add_overflow(m_size, va_arg(pieces, unsigned int), &m_size)) return false;
        return true;
    }

    void fill(va_list pieces)
    {
        char* at = m_bytes.get();
        while (const void* const piece = va_arg(pieces, const void*)) {
            const unsigned int size = va_arg(pieces, unsigned int);
            std::memcpy(at, piece, size);
            at += size;
        }
    }

    std::unique_ptr<char, Free> m_bytes;
    unsigned int m_size = 0;
};

} // namespace

void Channel::log(short level, const std::string& text)
{
    if (passes(level)) logMessage(level, text);
}

void Channel::log(short level, short modifiers, const std::string& text)
{
    if (passes(level)) logMessage(level, modifiers, text);
}

void Channel::logMessage(short level, const std::string& text)
{
    logMessage(level, Modifiers::NONE, text);
}

void Channel::logMessage(short level, short modifiers, const std::string& text)
{
    if (IClient* const client = m_client) client->logMessage(*this, level, modifiers, text);
}

void Channel::logC(short level, const char* text)
{
    sendCopy(m_client, *this, level, Modifiers::NONE, text);
}

void Channel::logC(short level, short modifiers, const char* text)
{
    sendCopy(m_client, *this, level, modifiers, text);
}

// Kept: logCV formats before it looks for a client, logCVN after.

void Channel::logCV(short level, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    sendCopy(m_client, *this, level, Modifiers::NONE, text.text());
}

void Channel::logCV(short level, short modifiers, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    sendCopy(m_client, *this, level, modifiers, text.text());
}

void Channel::logCV(short level, short modifiers, long long timestamp, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    if (IClient* const client = m_client)
        client->logMessage(*this, level, modifiers, timestamp, text.text(), false);
}

void Channel::logCVN(short level, unsigned int maxLength, const char* format, ...)
{
    IClient* const client = m_client;
    va_list values;
    va_start(values, format);
    char* const text = formatForClient(client, maxLength, format, values);
    va_end(values);
    if (text != nullptr) client->logMessage(*this, level, Modifiers::NONE, text, true);
}

void Channel::logCVN(short level, short modifiers, unsigned int maxLength, const char* format, ...)
{
    IClient* const client = m_client;
    va_list values;
    va_start(values, format);
    char* const text = formatForClient(client, maxLength, format, values);
    va_end(values);
    if (text != nullptr) client->logMessage(*this, level, modifiers, text, true);
}

void Channel::logCVN(short level, short modifiers, long long timestamp, unsigned int maxLength,
                     const char* format, ...)
{
    IClient* const client = m_client;
    va_list values;
    va_start(values, format);
    char* const text = formatForClient(client, maxLength, format, values);
    va_end(values);
    if (text != nullptr) client->logMessage(*this, level, modifiers, timestamp, text, true);
}

void Channel::logRaw(short level, short messageType, short modifiers, const void* data,
                     unsigned int size)
{
    if (IClient* const client = m_client)
        client->logMessage(*this, level, messageType, modifiers, data, size);
}

void Channel::logRaw(short level, short messageType, const void* data, unsigned int size)
{
    logRaw(level, messageType, Modifiers::NONE, data, size);
}

// A short before the dots is nothing that va_start formally takes; the supported compilers use the
// parameter's position alone.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wvarargs"

void Channel::logRawV(short level, short messageType, short modifiers, ...)
{
    va_list pieces;
    va_start(pieces, modifiers);
    const JoinedPieces joined(pieces);
    va_end(pieces);
    if (joined.bytes() != nullptr)
        logRaw(level, messageType, modifiers, joined.bytes(), joined.size());
}

void Channel::logRawV(short level, short messageType, ...)
{
    va_list pieces;
    va_start(pieces, messageType);
    const JoinedPieces joined(pieces);
    va_end(pieces);
    if (joined.bytes() != nullptr) logRaw(level, messageType, joined.bytes(), joined.size());
}

#pragma GCC diagnostic pop

} // namespace tracing
