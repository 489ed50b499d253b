// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <climits>

#include "../error/Site.h"
#include "CharacterFilter.h"
#include "Cursor.h"
#include "Needle.h"

namespace std::unicode {

namespace {

using errorcore::Site;
using textcore::AnyEncoding;
using textcore::CharacterFilter;
using textcore::Cursor;
using textcore::Kind;
using textcore::kindOf;
using textcore::Needle;
using textcore::Wanted;

constexpr const char* FILE_NAME = "framework/src/common/unicode/String";
constexpr Site RFIND_SITE{FILE_NAME, 331, "rfind"};
constexpr Site FIND_FIRST_OF_SITE{FILE_NAME, 352, "find_first_of"};
constexpr Site FIND_FIRST_NOT_OF_SITE{FILE_NAME, 369, "find_first_not_of"};
constexpr Site FIND_LAST_OF_SITE{FILE_NAME, 387, "find_last_of"};
constexpr Site FIND_LAST_NOT_OF_SITE{FILE_NAME, 404, "find_last_not_of"};

bool isMember(const Cursor<AnyEncoding>& at, Cursor<AnyEncoding> set)
{
    for (; !set.atEnd(); ++set)
        if (*at == *set) return true;
    return false;
}

/// As `isMember`, and looks at the whole set in any case.
bool isMemberOfAll(const Cursor<AnyEncoding>& at, Cursor<AnyEncoding> set)
{
    bool isFound = false;
    for (; !set.atEnd(); ++set)
        if (*at == *set) isFound = true;
    return isFound;
}

/// A search for characters of a set, or for others.
class SetSearch
{
public:
    SetSearch(const String& text, const String& set, Wanted wanted)
        : m_text(text), m_set(set), m_wanted(wanted), m_filter(set, wanted),
          m_hasFilter(m_filter.isWhole() && kindOf(text.codec()) != Kind::OTHER)
    {}

    /// Returns the first hit from `from` on, or the end.
    Codec::Index first(const Codec::Index& from) const
    {
        if (!m_hasFilter) return decodedFirst(from);
        return textcore::withUtf8OrAny(m_text.codec(), [&](const auto& encoding) {
            CharacterFilter::Pace pace;
            const Cursor at = filtered(Cursor(encoding, m_text, from), pace);
            return at.atEnd() ? m_text.end().position : at.position();
        });
    }

    /// Returns the last hit before character number `limit`, or the end.
    Codec::Index last(unsigned int limit) const
    {
        if (!m_hasFilter) return decodedLast(limit);
        return textcore::withUtf8OrAny(m_text.codec(), [&](const auto& encoding) {
            Codec::Index result = m_text.end().position;
            CharacterFilter::Pace pace;
            Cursor at(encoding, m_text);
            at.endBefore(limit);
            for (at = filtered(at, pace); !at.atEnd(); at = filtered(at, pace)) {
                result = at.position();
                ++at;
            }
            return result;
        });
    }

private:
    template <typename Encoding>
    Cursor<Encoding> filtered(Cursor<Encoding> at, CharacterFilter::Pace& pace) const
    {
        for (m_filter.pass(at, pace); !at.atEnd() && !m_filter.stopsAt(*at);
             m_filter.pass(at, pace))
            ++at;
        return at;
    }
    Codec::Index decodedFirst(const Codec::Index& from) const;
    Codec::Index decodedLast(unsigned int limit) const;

    const String& m_text;
    const String& m_set;
    const Wanted m_wanted;
    const CharacterFilter m_filter;
    const bool m_hasFilter;
};

Codec::Index SetSearch::decodedFirst(const Codec::Index& from) const
{
    const Cursor set(AnyEncoding(m_set.codec()), m_set);
    for (Cursor at(AnyEncoding(m_text.codec()), m_text, from); !at.atEnd(); ++at)
        if (isMember(at, set) == (m_wanted == Wanted::MEMBER)) return at.position();
    return m_text.end().position;
}

Codec::Index SetSearch::decodedLast(unsigned int limit) const
{
    const Cursor set(AnyEncoding(m_set.codec()), m_set);
    Codec::Index result = m_text.end().position;
    for (Cursor at(AnyEncoding(m_text.codec()), m_text); !at.atEnd(); ++at) {
        if (at.position().chars == limit) break;
        // Kept: the search for members looks at the whole set each time, that for others does not.
        const bool isHit = m_wanted == Wanted::MEMBER ? isMemberOfAll(at, set) : !isMember(at, set);
        if (isHit) result = at.position();
    }
    return result;
}

/// Returns the number of characters before `before`; more than any text has if that is a position
/// elsewhere, which none is equal to.
unsigned int limitOf(const String& text, const String::Iterator& before)
{
    const bool isHere = before.string != nullptr && before.string->data() == text.data();
    return isHere ? before.position.chars : UINT_MAX;
}

String::Iterator firstOf(const String& set, const String::Iterator& from, Wanted wanted,
                         const String::Iterator& end)
{
    if (from.string == nullptr) return end;
    const Codec::Index hit = SetSearch(*from.string, set, wanted).first(from.position);
    const String::Iterator found{from.string, hit};
    return found.atEnd() ? end : found;
}

String::Iterator lastOf(const String& text, const String& set, const String::Iterator& before,
                        Wanted wanted)
{
    return {&text, SetSearch(text, set, wanted).last(limitOf(text, before))};
}

} // namespace

String::Iterator String::find(const String& needle, const Iterator& from) const
{
    const Codec::Index start = from.string == this
                                   ? from.position
                                   : m_codec->at(data(), byteLength(), from.position.chars);
    return {this, Needle(needle).firstIn(*this, start)};
}

// Kept: the search goes on to the end of the text, also past `before`.
String::Iterator String::rfind(const String& needle, const Iterator& before) const
{
    errorcore::assertAt(RFIND_SITE, before.string == this, "before.string==this");
    const Needle wanted(needle);
    Iterator result = end();
    for (Iterator here{this, wanted.firstIn(*this, {})}; !here.atEnd();
         here.position = wanted.firstIn(*this, textcore::next(*this, here.position)))
        if (here < before || here == before) result = here;
    return result;
}

String::Iterator String::find_first_of(const String& set, const Iterator& from) const
{
    errorcore::assertAt(FIND_FIRST_OF_SITE, from.string == this, "from.string==this");
    return firstOf(set, from, Wanted::MEMBER, end());
}

String::Iterator String::find_first_not_of(const String& set, const Iterator& from) const
{
    errorcore::assertAt(FIND_FIRST_NOT_OF_SITE, from.string == this, "from.string==this");
    return firstOf(set, from, Wanted::STRANGER, end());
}

String::Iterator String::find_last_of(const String& set, const Iterator& before) const
{
    errorcore::assertAt(FIND_LAST_OF_SITE, before.string == this, "before.string==this");
    return lastOf(*this, set, before, Wanted::MEMBER);
}

String::Iterator String::find_last_not_of(const String& set, const Iterator& before) const
{
    errorcore::assertAt(FIND_LAST_NOT_OF_SITE, before.string == this, "before.string==this");
    return lastOf(*this, set, before, Wanted::STRANGER);
}

} // namespace std::unicode
