// SPDX-License-Identifier: Apache-2.0
//
// The library's side of a comparison with the slow texts: codecs by the names of the encodings,
// texts in blocks of their exact size, and both kinds of texts in the same notation.

#ifndef ZELCOMMON_TESTS_SUPPORT_LIBRARYTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_LIBRARYTEXT_H

#include <cstring>
#include <memory>
#include <string>

#include <common/unicode/String.h>
#include <support/TextNotation.h>

namespace support {

inline const std::unicode::Codec& codecOf(slow::Encoding encoding)
{
    if (encoding == slow::UTF8) return std::unicode::UTF8;
    if (encoding == slow::UTF16LE) return std::unicode::UTF16LE;
    if (encoding == slow::UTF16BE) return std::unicode::UTF16BE;
    return std::unicode::UCS4;
}

inline slow::Encoding encodingOf(const std::unicode::Codec& codec)
{
    if (&codec == &std::unicode::UTF8) return slow::UTF8;
    if (&codec == &std::unicode::UTF16LE) return slow::UTF16LE;
    if (&codec == &std::unicode::UTF16BE) return slow::UTF16BE;
    return slow::UCS4;
}

/// A copy of bytes in memory of their own, of exactly their size.
class ExactBytes
{
public:
    explicit ExactBytes(const slow::Bytes& data)
        : m_data(new unsigned char[data.size()]), m_size(static_cast<unsigned int>(data.size()))
    {
        if (m_size > 0) std::memcpy(m_data.get(), data.data(), m_size);
    }

    unsigned char* data() const { return m_data.get(); }
    unsigned int size() const { return m_size; }
    slow::Bytes copy() const { return slow::Bytes(m_data.get(), m_data.get() + m_size); }

private:
    std::unique_ptr<unsigned char[]> m_data;
    unsigned int m_size;
};

/// A shared block that gives its reference up when it goes.
class HeldBlock
{
public:
    explicit HeldBlock(const std::SharedBuf& block) : m_block(block) { block.unref(); }
    explicit HeldBlock(const slow::Bytes& data) : m_block(static_cast<unsigned int>(data.size()))
    {
        if (!data.empty()) std::memcpy(m_block.payload(), data.data(), data.size());
    }
    ~HeldBlock() { m_block.unref(); }
    HeldBlock(const HeldBlock&) = delete;
    HeldBlock& operator=(const HeldBlock&) = delete;

    const std::SharedBuf& block() const { return m_block; }
    slow::Bytes bytes() const
    {
        return slow::Bytes(m_block.payload(), m_block.payload() + m_block.length());
    }

private:
    std::SharedBuf m_block;
};

inline std::unicode::String stringOf(slow::Encoding encoding, const slow::Bytes& data)
{
    return std::unicode::String(HeldBlock(data).block(), codecOf(encoding));
}

inline slow::Bytes payloadOf(const std::unicode::String& text)
{
    return slow::Bytes(text.data(), text.data() + text.byteLength());
}

inline std::string shown(const std::unicode::String& text)
{
    return textText(encodingOf(text.codec()), payloadOf(text), text.size());
}

inline std::string shown(const slow::Text& text)
{
    return textText(text.encoding, text.bytes(), text.count);
}

inline std::string shown(const std::unicode::Codec::Index& at)
{
    return placeText(at.chars, at.bytes);
}

inline std::string shown(const slow::Place& at)
{
    return placeText(at.chars, at.bytes);
}

inline std::string shown(const std::unicode::String::Iterator& at)
{
    return shown(at.position);
}

inline std::string shown(const slow::Position& at)
{
    return shown(at.place);
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_LIBRARYTEXT_H
