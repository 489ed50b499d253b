// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include "../error/Site.h"
#include "Cursor.h"

namespace std::unicode {

namespace {

using errorcore::Site;
using textcore::Cursor;
using textcore::withEncodings;

constexpr const char* FILE_NAME = "framework/src/common/unicode/String";
constexpr Site RFIND_SITE{FILE_NAME, 331, "rfind"};
constexpr Site FIND_FIRST_OF_SITE{FILE_NAME, 352, "find_first_of"};
constexpr Site FIND_FIRST_NOT_OF_SITE{FILE_NAME, 369, "find_first_not_of"};
constexpr Site FIND_LAST_OF_SITE{FILE_NAME, 387, "find_last_of"};
constexpr Site FIND_LAST_NOT_OF_SITE{FILE_NAME, 404, "find_last_not_of"};

/// Whether a search looks for characters of the set or for others.
enum class Wanted {
    MEMBER,
    STRANGER,
};

template <typename Text, typename Needle>
bool beginsWith(Cursor<Text> at, Cursor<Needle> needle)
{
    for (; !needle.atEnd(); ++needle, ++at) {
        if (at.atEnd()) return false;
        if (*needle != *at) return false;
    }
    return true;
}

/// Returns the first position from `at` on where `needle` begins, or the end.
template <typename Text, typename Needle>
Cursor<Text> firstMatch(Cursor<Text> at, const Cursor<Needle>& needle)
{
    while (!at.atEnd() && !beginsWith(at, needle))
        ++at;
    return at;
}

template <typename Text, typename Set>
bool isMember(const Cursor<Text>& at, Cursor<Set> set)
{
    for (; !set.atEnd(); ++set)
        if (*at == *set) return true;
    return false;
}

/// As `isMember`, and looks at the whole set in any case.
template <typename Text, typename Set>
bool isMemberOfAll(const Cursor<Text>& at, Cursor<Set> set)
{
    bool isFound = false;
    for (; !set.atEnd(); ++set)
        if (*at == *set) isFound = true;
    return isFound;
}

String::Iterator firstOf(const String& set, const String::Iterator& from, Wanted wanted,
                         const String::Iterator& end)
{
    if (from.string == nullptr) return end;
    const String& text = *from.string;
    return withEncodings(text.codec(), set.codec(), [&](const auto& first, const auto& second) {
        const Cursor members(second, set);
        for (Cursor at(first, text, from.position); !at.atEnd(); ++at)
            if (isMember(at, members) == (wanted == Wanted::MEMBER))
                return String::Iterator{&text, at.position()};
        return end;
    });
}

String::Iterator lastOf(const String& text, const String& set, const String::Iterator& before,
                        Wanted wanted)
{
    return withEncodings(text.codec(), set.codec(), [&](const auto& first, const auto& second) {
        const Cursor members(second, set);
        String::Iterator result = text.end();
        for (Cursor at(first, text); !at.atEnd(); ++at) {
            const String::Iterator here{&text, at.position()};
            if (here == before) break;
            // Kept: the search for members looks at the whole set each time, that for others does
            // not.
            const bool isHit =
                wanted == Wanted::MEMBER ? isMemberOfAll(at, members) : !isMember(at, members);
            if (isHit) result = here;
        }
        return result;
    });
}

} // namespace

String::Iterator String::find(const String& needle, const Iterator& from) const
{
    const Codec::Index start = from.string == this
                                   ? from.position
                                   : m_codec->at(data(), byteLength(), from.position.chars);
    return withEncodings(*m_codec, needle.codec(), [&](const auto& first, const auto& second) {
        const Cursor match = firstMatch(Cursor(first, *this, start), Cursor(second, needle));
        return match.atEnd() ? end() : Iterator{this, match.position()};
    });
}

// Kept: the search goes on to the end of the text, also past `before`.
String::Iterator String::rfind(const String& needle, const Iterator& before) const
{
    errorcore::assertAt(RFIND_SITE, before.string == this, "before.string==this");
    return withEncodings(*m_codec, needle.codec(), [&](const auto& first, const auto& second) {
        const Cursor wanted(second, needle);
        Iterator result = end();
        for (Cursor at = firstMatch(Cursor(first, *this), wanted); !at.atEnd();
             at = firstMatch(at, wanted)) {
            const Iterator here{this, at.position()};
            if (here < before || here == before) result = here;
            ++at;
        }
        return result;
    });
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
