// SPDX-License-Identifier: Apache-2.0
//
// Two texts side by side, as far as there are plain characters in them, away from the ends of both,
// where no step needs to be checked. What is done with them is up to an action: one text is written
// from the other, or they are compared. All else is left to the decoders and encoders.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_PAIREDWALK_H
#define ZELCOMMON_SRC_COMMON_UNICODE_PAIREDWALK_H

#include <algorithm>
#include <cstddef>

#include "AsciiBlock.h"
#include "PlainCharacter.h"

namespace textcore {

/// Where the walk stands: what is left on both sides, `Byte`s on the other one. A character is left
/// in any case.
template <typename Byte>
struct Course
{
    const unsigned char* from;
    const unsigned char* fromEnd;
    Byte* to;
    Byte* toEnd;
    unsigned int chars;
};

/// The walk from `Source` to `Target`. `Action` gives
/// - `ascii<From, To>(from, to)`: how many units it takes of `ASCII_BLOCK`, before another one;
/// - `asciiBlock<From, To>(from, to)`: whether it takes all `LARGE_BLOCK` of them;
/// - `character<LENGTH>(target, to, c)`: whether it takes a plain character.
template <typename Action, typename Source, typename Target>
class PairedWalk
{
public:
    using At = Course<typename Action::Byte>;

    static void walk(At& course)
    {
        At at = course;
        bool goesOn = true;
        while (goesOn && hasRoom(at)) {
            if (load<From>(at.from) < 0x80) {
                const unsigned int passed = Action::template ascii<From, To>(at.from, at.to);
                passAscii(at, passed);
                if (passed == ASCII_BLOCK) {
                    while (hasRoom(at) && Action::template asciiBlock<From, To>(at.from, at.to))
                        passAscii(at, LARGE_BLOCK);
                    continue;
                }
            }
            goesOn = walkPlain(at);
        }
        course = at;
    }

private:
    using From = typename Source::Unit;
    using To = typename Target::Unit;

    /// Returns whether there is more on both sides than one step takes: a large block of ASCII, or a
    /// smaller one and a character behind it. What is left can be decoded: a unit, not a part of
    /// it.
    static bool hasRoom(const At& at)
    {
        static_assert(LARGE_BLOCK >= ASCII_BLOCK + 4, "a character has no more than four units");
        constexpr unsigned int UNITS = LARGE_BLOCK + 1;
        return at.fromEnd - at.from >= std::ptrdiff_t(UNITS * sizeof(From)) &&
               at.toEnd - at.to >= std::ptrdiff_t(UNITS * sizeof(To)) && at.chars >= UNITS;
    }

    static void passAscii(At& at, unsigned int count)
    {
        at.from += count * sizeof(From);
        at.to += count * sizeof(To);
        at.chars -= count;
    }

    /// Walks over plain characters of one length. Those of two bytes are few between others; to
    /// count them first is not worth it.
    static bool walkPlain(At& at)
    {
        switch (lengthBehind<Source>(load<From>(at.from))) {
        case 2: return walkRun<2>(at, 1);
        case 3: return walkRun<3>(at, roomFor<3>(at));
        default: return walkRun<4>(at, roomFor<4>(at));
        }
    }

    /// Returns how many plain characters of that length have room on both sides.
    template <unsigned int LENGTH>
    static unsigned int roomFor(const At& at)
    {
        constexpr std::ptrdiff_t TOUCHED = 4; // at once
        const std::ptrdiff_t taken = (at.fromEnd - at.from - TOUCHED) / bytesOf<LENGTH, Source>();
        const std::ptrdiff_t given = (at.toEnd - at.to - TOUCHED) / bytesOf<LENGTH, Target>();
        // A text may count more characters than it has bytes, and than a difference holds.
        const std::size_t left = at.chars - 1;
        return static_cast<unsigned int>(
            std::min({static_cast<std::size_t>(taken), static_cast<std::size_t>(given), left}));
    }

    /// Walks over at most so many plain characters of that length. Returns whether there was one.
    template <unsigned int LENGTH>
    static bool walkRun(At& at, unsigned int most)
    {
        At here = at;
        unsigned int c = 0;
        unsigned int done = 0;
        for (; done < most && take<LENGTH>(Source(), here.from, c) &&
               Action::template character<LENGTH>(Target(), here.to, c);
             ++done) {
            here.from += bytesOf<LENGTH, Source>();
            here.to += bytesOf<LENGTH, Target>();
        }
        here.chars -= done;
        at = here;
        return done > 0;
    }
};

template <typename Action>
class PairedWalk<Action, AnyEncoding, AnyEncoding>
{
public:
    static void walk(Course<typename Action::Byte>&) {}
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_PAIREDWALK_H
