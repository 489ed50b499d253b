// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

#include "../error/Site.h"
#include "Conversion.h"
#include "Counting.h"
#include "OwnedBlock.h"

namespace std::unicode {

namespace {

using textcore::blockOf;
using textcore::Bytes;
using textcore::OwnedBlock;

constexpr errorcore::Site AT_SITE{"framework/src/common/unicode/String", 214, "at"};

const unsigned char* bytesOf(const void* text)
{
    return static_cast<const unsigned char*>(text);
}

/// Returns a block with a copy of `size` bytes.
SharedBuf copied(const void* text, unsigned long long size)
{
    OwnedBlock block = blockOf(size);
    if (size > 0) std::memcpy(block.payload(), text, static_cast<std::size_t>(size));
    return block.release();
}

/// Returns a block with `size` bytes of `text` converted.
SharedBuf converted(const Codec& source, const Codec& target, const void* text,
                    unsigned long long size)
{
    // What leaves 32 bits has no room in memory either.
    if (size > UINT_MAX) return blockOf(size).release();
    const Bytes bytes{bytesOf(text), static_cast<unsigned int>(size)};
    const textcore::Extent extent = textcore::measure(source, target, bytes, UINT_MAX);
    OwnedBlock block = blockOf(extent.bytes);
    textcore::convert(source, target, bytes, extent, block.payload());
    return block.release();
}

/// Returns the bytes of `buffer` in the encoding `target`.
SharedBuf sharedOrConverted(const Codec& target, const SharedBuf& buffer, const Codec& source)
{
    if (&source == &target) return buffer;
    return converted(source, target, buffer.payload(), buffer.length());
}

unsigned long long bytesOfWide(std::size_t length)
{
    return static_cast<unsigned long long>(length) * sizeof(wchar_t);
}

/// Returns `text` in the encoding `target`. Without memory it is empty.
template <typename Text>
Text encoded(const Codec& target, const String& text)
{
    const Bytes bytes{text.data(), text.byteLength()};
    const textcore::Extent extent = textcore::measure(text.codec(), target, bytes, UINT_MAX);
    const unsigned long long length = extent.bytes / sizeof(typename Text::value_type);
    Text result;
    if (extent.bytes > UINT_MAX || length > result.max_size()) return result;
    try {
        result.resize(static_cast<std::size_t>(length));
    } catch (const std::bad_alloc&) {
        return result;
    }
    textcore::convert(text.codec(), target, bytes, extent,
                      reinterpret_cast<unsigned char*>(result.data()));
    return result;
}

} // namespace

// The delegation makes an object whole before anything can throw, so that its block is given up.
String::String(const Codec& codec, SharedBuf&& buffer) : String(codec, std::move(buffer), 0)
{
    m_count = count();
}

String::String() : String(UTF8) {}

String::String(const Codec& codec) : String(codec, blockOf(0).release(), 0) {}

String::String(unsigned int c) : String(UCS4, copied(&c, sizeof c), 1) {}

String::String(const char* text) : String(fromUtf8(text)) {}

String::String(const std::string& text) : String(fromUtf8(text)) {}

String::String(const wchar_t* text) : String(UCS4, copied(text, bytesOfWide(std::wcslen(text)))) {}

String::String(const std::wstring& text)
    : String(UCS4, copied(text.data(), bytesOfWide(text.size())))
{}

String::String(const SharedBuf& buffer, const Codec& codec) : String(codec, SharedBuf(buffer)) {}

String::String(const Codec& codec, unsigned int c)
    : String(codec, converted(UCS4, codec, &c, sizeof c), 1)
{}

String::String(const Codec& codec, const char* text)
    : String(codec, converted(UTF8, codec, text, std::strlen(text)))
{}

String::String(const Codec& codec, const std::string& text)
    : String(codec, converted(UTF8, codec, text.data(), text.size()))
{}

String::String(const Codec& codec, const wchar_t* text)
    : String(codec, converted(UCS4, codec, text, bytesOfWide(std::wcslen(text))))
{}

// Kept: the length counts characters where bytes are meant, so three quarters of the text are lost.
String::String(const Codec& codec, const std::wstring& text)
    : String(codec, converted(UCS4, codec, text.data(), text.size()))
{}

String::String(const Codec& codec, const SharedBuf& buffer, const Codec& from)
    : String(codec, sharedOrConverted(codec, buffer, from))
{}

String::String(const Codec& codec, const String& text)
    : String(codec, sharedOrConverted(codec, text.m_buffer, *text.m_codec))
{}

String String::fromUtf8(std::string_view text)
{
    String result(UTF8, blockOf(text.size()).release(), 0);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    const Bytes all{bytes, static_cast<unsigned int>(text.size())};
    result.m_count = textcore::copyCounted(all, result.m_buffer.payload());
    return result;
}

unsigned int String::count() const
{
    return textcore::countCharacters(*m_codec, {data(), byteLength()});
}

unsigned int String::at(unsigned int i) const
{
    errorcore::assertAt(AT_SITE, i < size(), "i<size()");
    if (i >= size()) return REPLACEMENT_CHAR; // the handler may have changed the text
    const Codec::Index index = m_codec->at(data(), byteLength(), i);
    return m_codec->read(data(), byteLength(), index);
}

std::string String::toUtf8() const
{
    return encoded<std::string>(UTF8, *this);
}

std::wstring String::toWide() const
{
    return encoded<std::wstring>(WSTRING, *this);
}

} // namespace std::unicode
