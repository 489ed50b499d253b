// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "Needle.h"
#include "OwnedBlock.h"
#include "StringBytes.h"
#include "Utf8Search.h"

namespace std::unicode {

namespace {

using textcore::Bytes;
using textcore::bytesOf;
using textcore::Kind;
using textcore::kindOf;

/// Calls `use` with what is before each occurrence of `what`, and returns what is behind the last.
template <typename Use>
Bytes forEachPiece(Bytes text, const Bytes& what, const Use& use)
{
    while (const unsigned char* const hit = textcore::firstBytes(text, what)) {
        const auto before = static_cast<unsigned int>(hit - text.data);
        use(Bytes{text.data, before});
        text.data += before + what.size;
        text.size -= before + what.size;
    }
    return text;
}

unsigned char* append(const Bytes& bytes, unsigned char* to)
{
    if (bytes.size > 0) std::memcpy(to, bytes.data, bytes.size);
    return to + bytes.size;
}

/// A text that is put into blocks in UTF-8, and converted the first time alone.
class Glue
{
public:
    explicit Glue(const String& text) : m_text(text), m_extent(textcore::extentIn(UTF8, text)) {}

    /// Bytes in UTF-8; the largest stands for more, too, which have no room anywhere.
    unsigned long long size() const
    {
        return std::min<unsigned long long>(m_extent.bytes, UINT_MAX);
    }

    unsigned char* put(unsigned char* to)
    {
        if (m_bytes.data != nullptr) return append(m_bytes, to);
        textcore::put(UTF8, m_text, m_extent, to);
        m_bytes = {to, static_cast<unsigned int>(m_extent.bytes)};
        return to + m_bytes.size;
    }

private:
    const String& m_text;
    const textcore::Extent m_extent;
    /// Where it has been put first, if it has.
    Bytes m_bytes{nullptr, 0};
};

} // namespace

String String::replace(const String& what, const String& with) const
{
    const textcore::Needle needle(what);
    const bool isOfBytes = kindOf(*m_codec) == Kind::UTF8 && needle.bytes().size > 0 &&
                           kindOf(with.codec()) != Kind::OTHER &&
                           textcore::canonicalCount(bytesOf(*this)) == m_count;
    if (!isOfBytes) return with.join(Spliterator(*this, what), Spliterator());

    Glue glue(with);
    unsigned int hits = 0;
    forEachPiece(bytesOf(*this), needle.bytes(), [&hits](const Bytes&) { ++hits; });
    const unsigned long long removed = 1ULL * hits * needle.bytes().size;
    textcore::OwnedBlock block = textcore::blockOf(byteLength() - removed + hits * glue.size());
    unsigned char* to = block.payload();
    const Bytes rest =
        forEachPiece(bytesOf(*this), needle.bytes(),
                     [&to, &glue](const Bytes& piece) { to = glue.put(append(piece, to)); });
    append(rest, to);
    return String(UTF8, block.release(), m_count + hits * (with.size() - what.size()));
}

} // namespace std::unicode
