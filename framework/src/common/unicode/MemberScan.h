// SPDX-License-Identifier: Apache-2.0
//
// The way over UTF-8 that has none of a few characters in it, many bytes at a time: where none of
// them can end, the proof of structure is enough, and nothing is decoded.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_MEMBERSCAN_H
#define ZELCOMMON_SRC_COMMON_UNICODE_MEMBERSCAN_H

#include <algorithm>

#include "Utf8Structure.h"

namespace textcore {

/// Characters that a scan looks for at most.
constexpr unsigned int SCANNED_MEMBERS = 4;

/// The last two bytes of up to as many characters, the only one of those in ASCII.
///
/// In the lanes here, all bits of a byte say the same.
template <typename Lanes, bool IS_ASCII>
class MemberEnds
{
public:
    MemberEnds(const unsigned int (&members)[SCANNED_MEMBERS], unsigned int size)
    {
        for (unsigned int i = 0; i < SCANNED_MEMBERS; ++i)
            store(i, members[std::min(i, size - 1)]);
    }

    /// Returns bytes from the beginning of `text` on in which none of them is, in any form. Looks
    /// also at the byte before.
    unsigned int bytesWithout(const Bytes& text) const
    {
        constexpr unsigned int BLOCK = 4 * sizeof(Lanes);
        unsigned int bytes = 0;
        while (text.size - bytes >= BLOCK && isZero(inBlock(text.data + bytes)))
            bytes += BLOCK;
        return bytes;
    }

private:
    void store(unsigned int i, unsigned int c)
    {
        const bool isSingle = c < 0x80;
        const unsigned int before = c < 0x800 ? 0xC0 | c >> 6 : 0x80 | (c >> 6 & 0x3F);
        m_last[i] = all(isSingle ? c : 0x80 | (c & 0x3F));
        m_before[i] = all(isSingle ? 0 : before);
        m_mask[i] = all(isSingle ? 0 : 0xFF);
    }

    Lanes inBlock(const unsigned char* from) const
    {
        return in(from) | in(from + sizeof(Lanes)) | in(from + 2 * sizeof(Lanes)) |
               in(from + 3 * sizeof(Lanes));
    }

    Lanes in(const unsigned char* from) const
    {
        const Lanes here = load<Lanes>(from);
        const Lanes before = load<Lanes>(from - 1);
        return overlong(before, here) | end(0, before, here) | end(1, before, here) |
               end(2, before, here) | end(3, before, here);
    }

    Lanes end(unsigned int i, const Lanes& before, const Lanes& here) const
    {
        const Lanes last = sameBytes(here, m_last[i]);
        return IS_ASCII ? last : last & sameBytes(before & m_mask[i], m_before[i]);
    }

    /// Returns where characters are longer than need be: at C0, C1, and behind E0 and F0.
    static Lanes overlong(const Lanes& before, const Lanes& here)
    {
        const Lanes two = sameBytes(here & all(0xFE), all(0xC0));
        const Lanes three = sameBytes(before, all(0xE0)) & sameBytes(here & all(0xE0), all(0x80));
        const Lanes four = sameBytes(before, all(0xF0)) & sameBytes(here & all(0xF0), all(0x80));
        return two | three | four;
    }

    static Lanes all(unsigned int byte) { return Lanes{} | each<Lanes>(byte); }

    Lanes m_last[SCANNED_MEMBERS];
    Lanes m_before[SCANNED_MEMBERS];
    Lanes m_mask[SCANNED_MEMBERS];
};

/// A set of a few characters that passes text without them.
class MemberScan
{
public:
    /// By words it would take as long as decoding does.
    static constexpr bool IS_WORTH_IT = sizeof(Widest) > sizeof(Word);

    /// Adds a character, if there is room for it.
    void add(unsigned int c)
    {
        // Other bytes stand for the replacement, too.
        const bool isTooMuch = m_size >= SCANNED_MEMBERS || c == REPLACEMENT;
        if (!isTooMuch) m_members[m_size] = c;
        if (c >= 0x80) m_isAscii = false;
        m_size = isTooMuch ? SCANNED_MEMBERS + 1 : m_size + 1;
    }

    /// Returns whether all have found room, one at least.
    bool isWhole() const { return m_size >= 1 && m_size <= SCANNED_MEMBERS; }

    /// Returns characters from the beginning of `text` on that are not in the set; it may be empty.
    /// Requires that the set is whole, and a byte before `text` that can be read.
    Run pass(const Bytes& text) const
    {
        Run run;
        if constexpr (IS_WORTH_IT) run = m_isAscii ? passBy<true>(text) : passBy<false>(text);
        return run;
    }

private:
    /// Bytes that are looked at before their structure is proved: as many as have passed, so that
    /// what fails does not cost more than these.
    static constexpr unsigned int FIRST_BYTES = 128;
    static constexpr unsigned int MOST_BYTES = 4096;

    template <bool IS_ASCII>
    Run passBy(const Bytes& text) const
    {
        const MemberEnds<Widest, IS_ASCII> ends(m_members, m_size);
        Run run;
        for (unsigned int most = FIRST_BYTES;; most = std::min(2 * most, MOST_BYTES)) {
            const unsigned char* const from = text.data + run.bytes;
            const unsigned int size = std::min(text.size - run.bytes, most);
            const Run part = structuredRun({from, ends.bytesWithout({from, size})});
            run.bytes += part.bytes;
            run.chars += part.chars;
            if (part.bytes < most / 2) return run;
        }
    }

    unsigned int m_members[SCANNED_MEMBERS];
    unsigned int m_size = 0;
    bool m_isAscii = true;
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_MEMBERSCAN_H
