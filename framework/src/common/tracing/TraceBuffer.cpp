// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/TraceBuffer.h>

#include <cstdarg>
#include <new>

#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>

#include "../error/ReportGuard.h"
#include "../error/Site.h"
#include "FormattedText.h"

namespace tracing {

namespace {

using errorcore::Site;

constexpr const char* FILE_NAME = "framework/src/common/tracing/TraceBuffer";
constexpr Site CONSTRUCTOR_SITE{FILE_NAME, 13, "TraceBuffer"};
constexpr Site SET_SITE{FILE_NAME, 23, "set"};
constexpr Site SETF_SITE{FILE_NAME, 38, "setf"};
constexpr Site PLAIN_APPEND_SITE{FILE_NAME, 56, "append"};
constexpr Site PLAIN_APPENDF_SITE{FILE_NAME, 64, "appendf"};
constexpr Site APPEND_SITE{FILE_NAME, 80, "append"};
constexpr Site APPENDF_SITE{FILE_NAME, 93, "appendf"};

void assertLevel(const Site& site, short level)
{
    errorcore::assertAt(site, level <= Levels::LevelFATAL, "level <= Levels::LevelFATAL");
}

/// Asserts that `text` is there. Returns whether it is.
bool assertText(const Site& site, const char* text, const char* conditionText)
{
    errorcore::assertAt(site, text != nullptr, conditionText);
    return text != nullptr;
}

/// Resets a line, also when its client throws.
class ResetAtEnd
{
public:
    explicit ResetAtEnd(TraceBuffer& line) : m_line(line) {}
    ~ResetAtEnd() { m_line.reset(); }
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;

private:
    TraceBuffer& m_line;
};

} // namespace

TraceBuffer::TraceBuffer(Channel* channel) : m_channel(channel), m_level(Levels::LevelTRACE)
{
    errorcore::assertAt(CONSTRUCTOR_SITE, channel != nullptr, "m_channel");
}

TraceBuffer::~TraceBuffer()
{
    const errorcore::ReportGuard guard; // a client may hold cancellation points
    try {
        print();
    } catch (...) { // NOLINT(bugprone-empty-catch): a destructor has nobody to tell
    }
}

void TraceBuffer::append(const char* text)
{
    if (assertText(PLAIN_APPEND_SITE, text, "text")) add(text);
}

void TraceBuffer::appendf(const char* format, ...)
{
    if (!assertText(PLAIN_APPENDF_SITE, format, "format")) return;
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    add(text.text());
}

void TraceBuffer::append(short level, const char* text)
{
    assertLevel(APPEND_SITE, level);
    if (!passes(level) || !assertText(APPEND_SITE, text, "text")) return;
    if (add(text)) raiseLevel(level);
}

void TraceBuffer::appendf(short level, const char* format, ...)
{
    assertLevel(APPENDF_SITE, level);
    if (!passes(level) || !assertText(APPENDF_SITE, format, "format")) return;
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    if (add(text.text())) raiseLevel(level);
}

// Kept: a rejected piece clears the line here, and leaves it untouched in append.

void TraceBuffer::set(short level, const char* text)
{
    assertLevel(SET_SITE, level);
    if (!passes(level)) return reset();
    if (!assertText(SET_SITE, text, "text")) return;
    reset();
    if (add(text)) m_level = level;
}

void TraceBuffer::setf(short level, const char* format, ...)
{
    assertLevel(SETF_SITE, level);
    if (!passes(level)) return reset();
    if (!assertText(SETF_SITE, format, "format")) return;
    va_list values;
    va_start(values, format);
    FormattedText text(format, values);
    va_end(values);
    reset();
    if (add(text.text())) m_level = level;
}

void TraceBuffer::reset()
{
    m_buffer.clear();
    m_level = Levels::LevelTRACE;
}

void TraceBuffer::print()
{
    const ResetAtEnd resetAtEnd(*this);
    if (!m_buffer.empty() && passes(m_level)) m_channel->logC(m_level, m_buffer.c_str());
}

bool TraceBuffer::passes(short level) const
{
    return m_channel != nullptr && m_channel->passes(level);
}

bool TraceBuffer::add(const char* text)
{
    try {
        m_buffer += text;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void TraceBuffer::raiseLevel(short level)
{
    if (level > m_level) m_level = level;
}

} // namespace tracing
