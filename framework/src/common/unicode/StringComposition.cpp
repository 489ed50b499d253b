// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "Cursor.h"
#include "OwnedBlock.h"
#include "StringBytes.h"

namespace std::unicode {

namespace {

using textcore::blockOf;
using textcore::extentIn;
using textcore::OwnedBlock;
using textcore::put;

bool shareBlocks(const String& left, const String& right)
{
    return left.buffer().data == right.buffer().data &&
           left.buffer().offset == right.buffer().offset;
}

/// Returns the number of characters that an argument of `substr` stands for.
unsigned int placeOf(int argument, unsigned int count)
{
    if (argument >= 0) return std::min(static_cast<unsigned int>(argument), count);
    const unsigned int fromEnd = 0U - static_cast<unsigned int>(argument);
    return fromEnd < count ? count - fromEnd : 0;
}

} // namespace

String String::substr(const Iterator& from, const Iterator& to) const
{
    const bool isOurs = from.string != nullptr && to.string != nullptr &&
                        shareBlocks(*this, *from.string) && shareBlocks(*this, *to.string);
    if (!isOurs) return String("");
    const unsigned int chars = to.position.chars - from.position.chars;
    if (static_cast<int>(chars) <= 0) return String("");

    // A position may be older than its text: the view stays inside the bytes of that text, which
    // may be more than this one's. The difference wraps then, and the view grows.
    const unsigned int end = std::min(to.position.bytes, to.string->byteLength());
    const unsigned int begin = std::min(from.position.bytes, end);
    const OwnedBlock head(m_buffer.shrink(byteLength() - end));
    return String(*m_codec, head.view(begin), chars);
}

String String::substr(int from, int to) const
{
    const auto positionOf = [this](int argument) {
        return Iterator{this, m_codec->at(data(), byteLength(), placeOf(argument, m_count))};
    };
    return substr(positionOf(from), positionOf(to));
}

String String::operator+(const String& other) const
{
    const textcore::Extent extent = extentIn(*m_codec, other);
    const unsigned long long length = byteLength();
    OwnedBlock block = blockOf(length + extent.bytes);
    if (length > 0) std::memcpy(block.payload(), data(), byteLength());
    put(*m_codec, other, extent, block.payload() + length);
    return String(*m_codec, block.release(), m_count + other.m_count);
}

String String::operator*(unsigned int n) const
{
    const unsigned long long length = byteLength();
    OwnedBlock block = blockOf(length * n);
    for (unsigned int i = 0; length > 0 && i < n; ++i)
        std::memcpy(block.payload() + i * length, data(), byteLength());
    return String(*m_codec, block.release(), m_count * n);
}

// Kept: a joined text is in UTF-8, whatever its parts are.

String::Joiner::Joiner(const String& glue) : m_glue(glue), m_glueBytes(bytesInUtf8(glue)) {}

String::Joiner::~Joiner()
{
    m_block.unref();
}

unsigned long long String::Joiner::bytesInUtf8(const String& text)
{
    return extentIn(UTF8, text).bytes;
}

void String::Joiner::begin()
{
    use(blockOf(m_needed).release(), 0);
}

/// Goes on in `block`, of which some bytes are filled.
void String::Joiner::use(SharedBuf&& block, unsigned int filled)
{
    m_block = std::move(block);
    m_to = m_block.payload() + filled;
    m_room = m_block.length() - filled;
}

void String::Joiner::addAny(const String& text)
{
    const textcore::Extent extent = extentIn(UTF8, text);
    reserve(extent.bytes);
    put(UTF8, text, extent, m_to);
    m_to += extent.bytes;
    m_room -= static_cast<unsigned int>(extent.bytes);
    m_count += text.size();
}

/// Makes room for `bytes` more. There is room already if all was measured.
void String::Joiner::reserve(unsigned long long bytes)
{
    if (bytes <= m_room) return;
    constexpr unsigned long long MOST = UINT_MAX - SharedBuf::HEADER_SIZE;
    const unsigned int filled = m_block.length() - m_room;
    OwnedBlock larger = blockOf(std::max(filled + bytes, std::min(2ULL * filled, MOST)));
    std::memcpy(larger.payload(), m_block.payload(), filled);
    use(larger.release(), filled);
}

String String::Joiner::finish()
{
    if (m_block.data == nullptr) return String();
    m_block.size -= m_room;
    return String(UTF8, std::move(m_block), m_count);
}

String::Spliterator::Spliterator()
    : m_text(SharedBuf(), UTF8), m_separator(SharedBuf(), UTF8), m_isDone(true)
{}

String::Spliterator::Spliterator(const String& text, const String& separator)
    : m_text(text), m_separator(separator), m_begin(m_text.begin()), m_end(m_text.begin()),
      m_isDone(separator.empty() && text.empty())
{
    findEnd();
}

String::Spliterator::Spliterator(const Spliterator& other)
    : m_text(other.m_text), m_separator(other.m_separator),
      m_begin{&m_text, other.m_begin.position}, m_end{&m_text, other.m_end.position},
      m_isDone(other.m_isDone)
{}

String::Spliterator& String::Spliterator::operator=(const Spliterator& other)
{
    if (this == &other) return *this;
    m_text = other.m_text;
    m_separator = other.m_separator;
    m_begin = {&m_text, other.m_begin.position};
    m_end = {&m_text, other.m_end.position};
    m_isDone = other.m_isDone;
    return *this;
}

void String::Spliterator::findEnd()
{
    if (m_separator.empty())
        m_end = {&m_text, textcore::next(m_text, m_begin.position)};
    else
        m_end = m_text.find(m_separator, m_begin);
}

String::Spliterator& String::Spliterator::operator++()
{
    if (m_end.atEnd()) {
        m_begin = m_end = m_text.end();
        m_isDone = true;
        return *this;
    }
    m_begin = m_end;
    if (!m_separator.empty()) skipSeparator();
    if (m_begin.atEnd())
        m_begin = m_end = m_text.end();
    else
        findEnd();
    return *this;
}

/// Where the separator was found in bytes that cannot be decoded, the text ends.
void String::Spliterator::skipSeparator()
{
    unsigned int last = 0;
    const unsigned int before = m_begin.position.bytes;
    m_text.codec().read_forward(m_text.data(), m_text.byteLength(), m_begin.position,
                                m_separator.size(), last);
    if (m_begin.position.bytes == before) m_begin = m_text.end();
}

bool String::Spliterator::operator==(const Spliterator& other) const
{
    if (m_isDone || other.m_isDone) return m_isDone == other.m_isDone;
    return shareBlocks(m_text, other.m_text) && shareBlocks(m_separator, other.m_separator) &&
           m_begin == other.m_begin && m_end == other.m_end;
}

} // namespace std::unicode
