// SPDX-License-Identifier: Apache-2.0
//
// The proof, many bytes at a time, that a text has the structure of UTF-8: behind each lead there
// are just the continuation bytes that it announces. Such a text has as many characters as bytes
// that are no continuation. What fails the proof is left to the decoder, character by character.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_UTF8STRUCTURE_H
#define ZELCOMMON_SRC_COMMON_UNICODE_UTF8STRUCTURE_H

#include <algorithm>

#include "Conversion.h"
#include "Decoders.h"
#include "Lanes.h"

namespace textcore {

/// Whole characters at the beginning of a text.
struct Run
{
    unsigned int bytes = 0;
    unsigned int chars = 0;
};

/// Which characters a proof passes.
enum class Accept {
    STRUCTURED, ///< those of one to four bytes
    BASIC,      ///< those of one to three bytes
    PLAIN,      ///< of those, the ones of which the lead tells that no other bytes are the same
    PLAIN_FOUR, ///< these and some of four bytes
};

/// The proof, `Lanes` at a time.
///
/// In the lanes here, the highest bit of each byte says something and the others do not.
template <typename Lanes, Accept ACCEPT>
class Utf8Structure
{
public:
    explicit Utf8Structure(const Bytes& text) : m_text(text) {}

    /// Returns what is proved from the beginning of the text on. How near that comes to the first
    /// character that fails, or to the end, is left open: it may be empty.
    Run prove()
    {
        if (m_text.size < ASCII_PARTS * sizeof(Lanes)) passShortAscii();
        passBlocks<Lanes>();
        while (left() >= sizeof(Lanes) && pass<Lanes, 1>()) {}
        while (left() >= sizeof(Word) && pass<Word, 1>()) {}
        if (!passTail()) giveBackPart();
        return {m_run.bytes, m_run.chars};
    }

private:
    /// Parts that are looked at together, if they may be anything, and if they are ASCII.
    template <typename Part>
    static constexpr unsigned int BLOCK = sizeof(Part) == sizeof(Word) ? 8 : 4;
    static constexpr unsigned int ASCII_PARTS = 8;

    /// The leads of characters of that many bytes or more.
    template <typename Part>
    struct Leads
    {
        explicit Leads(const Part& bytes)
            : two(bytes & bytes << 1), three(two & two << 1), four(three & three << 1)
        {}

        Part two;
        Part three;
        Part four;
    };

    /// What is not accepted. Continuation bytes are another matter.
    template <typename Part>
    static Part strangers(const Part& bytes, const Leads<Part>& leads)
    {
        if constexpr (ACCEPT == Accept::STRUCTURED) return leads.four & leads.four << 1;
        if constexpr (ACCEPT == Accept::BASIC) return leads.four;
        // Overlong forms begin with C0, C1, E0 or F0, surrogates with ED. Some leads beside these
        // are given up, too; of the last kind, the byte behind it tells.
        const Part fourthBit = bytes << 4;
        const Part thirdBit = bytes << 5;
        const Part hasLowBits = bytes << 3 | fourthBit | thirdBit | bytes << 6;
        const Part failing = (leads.two & ~hasLowBits) | (leads.three & fourthBit & thirdBit);
        if constexpr (ACCEPT == Accept::PLAIN) return failing | leads.four;
        return failing | (leads.four & fourthBit);
    }

    /// What is not accepted behind the lead of four bytes.
    template <typename Part>
    static Part secondStrangers(const Part& bytes, const Leads<Part>& before,
                                const Leads<Part>& leads)
    {
        if (ACCEPT != Accept::PLAIN_FOUR) return Part{};
        // Overlong forms lack bits 4 and 5, what counts as surrogate lacks bit 1. Emoji have it.
        return delayed<1>(before.four, leads.four) & ~(bytes << 3 & bytes << 6);
    }

    unsigned int left() const { return m_text.size - m_run.bytes; }

    template <typename Part>
    void passBlocks()
    {
        do
            passAscii<Part>();
        while (left() >= BLOCK<Part> * sizeof(Part) && pass<Part, BLOCK<Part>>());
    }

    /// Passes blocks of nothing else, if nothing is due from before.
    template <typename Part>
    void passAscii()
    {
        constexpr unsigned int SIZE = ASCII_PARTS * sizeof(Part);
        const unsigned char* const from = m_text.data + m_run.bytes;
        const bool isDue = m_run.bytes > 0 && from[-1] >= 0x80;
        if (isDue || left() < SIZE || !isAscii(load<Part>(from))) return;
        unsigned int passed = 0;
        for (const unsigned int end = left() - SIZE;
             passed <= end && isAscii(anyOf<Part, ASCII_PARTS>(from + passed));)
            passed += SIZE;
        m_run.bytes += passed;
        m_run.chars += passed;
    }

    /// Passes what a text without whole blocks begins with.
    void passShortAscii()
    {
        while (left() >= sizeof(Lanes) && isAscii(load<Lanes>(m_text.data + m_run.bytes)))
            m_run.bytes += sizeof(Lanes);
        m_run.chars = m_run.bytes;
    }

    template <typename Part>
    static bool isAscii(const Part& bytes)
    {
        return isZero(bytes & NOT_ASCII<Part, unsigned char>);
    }

    /// Passes the next parts. Returns false, and passes nothing, where one of them fails.
    template <typename Part, unsigned int COUNT>
    bool pass()
    {
        constexpr unsigned int SIZE = COUNT * sizeof(Part);
        const unsigned char* const bytes = m_text.data + m_run.bytes;
        Part last{};
        if (m_run.bytes > 0) last = load<Part>(bytes - sizeof last);
        unsigned int continuations = 0;
        if (!prove<Part, COUNT>(last, bytes, continuations)) return false;
        m_run.bytes += SIZE;
        m_run.chars += SIZE - continuations;
        return true;
    }

    /// Passes the last bytes, fewer than a word, if they end a character.
    bool passTail()
    {
        const unsigned int size = left();
        if (size == 0 || size >= sizeof(Word) || m_run.bytes < sizeof(Word)) return false;
        const unsigned char* const end = m_text.data + m_text.size;
        // Zeros behind them, where nothing must be due.
        const Word tail = load<Word>(end - sizeof tail) >> 8 * (sizeof tail - size);
        unsigned char bytes[sizeof tail];
        std::memcpy(bytes, &tail, sizeof tail);
        unsigned int continuations = 0;
        const Word last = load<Word>(end - size - sizeof last);
        if (!prove<Word, 1>(last, bytes, continuations)) return false;
        m_run.bytes += size;
        m_run.chars += size - continuations;
        return true;
    }

    template <typename Part, unsigned int COUNT>
    static bool prove(const Part& last, const unsigned char* bytes, unsigned int& continuations)
    {
        // Some at a time, as counting them costs as much as a part of the proof.
        constexpr unsigned int TOGETHER = COUNT < 4 ? COUNT : 4;
        Leads<Part> before(last);
        Part fails{};
        Part sums{};
        for (unsigned int i = 0; i < COUNT; i += TOGETHER, bytes += TOGETHER * sizeof fails) {
            provePart(bytes, before, fails, sums);
            if (TOGETHER == 1) continue;
            provePart(bytes + sizeof fails, before, fails, sums);
            provePart(bytes + 2 * sizeof fails, before, fails, sums);
            provePart(bytes + 3 * sizeof fails, before, fails, sums);
        }
        continuations = sumOf(sums);
        return isZero(fails & each<Part>(0x80));
    }

    /// Continuation bytes are due behind the leads, also behind those of the part before.
    template <typename Part>
    static void provePart(const unsigned char* bytes, Leads<Part>& before, Part& fails, Part& sums)
    {
        const Part here = load<Part>(bytes);
        const Leads<Part> leads(here);
        Part due = delayed<1>(before.two, leads.two) | delayed<2>(before.three, leads.three);
        if (ACCEPT == Accept::STRUCTURED || ACCEPT == Accept::PLAIN_FOUR)
            due |= delayed<3>(before.four, leads.four);
        const Part found = here & ~(here << 1);
        fails |= (due ^ found) | strangers(here, leads) | secondStrangers(here, before, leads);
        sums += (found & each<Part>(0x80)) >> 7;
        before = leads;
    }

    /// Gives back the last character if the proof ends within it.
    void giveBackPart()
    {
        constexpr unsigned int LONGEST_TAIL = 3;
        for (unsigned int back = 1; back <= std::min(LONGEST_TAIL, m_run.bytes); ++back) {
            const unsigned int byte = m_text.data[m_run.bytes - back];
            if (Utf8Decoder::isContinuation(byte)) continue;
            if (Utf8Decoder::tailLength(byte) < back) return;
            m_run.bytes -= back;
            --m_run.chars;
            return;
        }
    }

    const Bytes m_text;
    Run m_run;
};

/// Returns what is behind the first bytes of `text`.
inline Bytes behind(const Bytes& text, unsigned int bytes)
{
    return {text.data + bytes, text.size - bytes};
}

/// Returns characters of one to four bytes from the beginning of `text` on.
inline Run structuredRun(const Bytes& text)
{
    return Utf8Structure<Widest, Accept::STRUCTURED>(text).prove();
}

/// Bytes that are decoded before many are looked at together again, so that malformed text does not
/// pay for proofs again and again.
constexpr unsigned int DECODED_BYTES = 64;

/// Walks `text` from `at` to its end, over what `prove` gives of the beginning of the rest, and
/// calls `pass` to move over each character that is left. Returns false, and ends, where that does.
template <typename Prove, typename Pass>
bool passText(const Bytes& text, Codec::Index& at, const Prove& prove, const Pass& pass)
{
    while (at.bytes < text.size) {
        const Run run = prove(behind(text, at.bytes));
        at.bytes += run.bytes;
        at.chars += run.chars;
        const unsigned int end = at.bytes + std::min(text.size - at.bytes, DECODED_BYTES);
        while (at.bytes < end)
            if (!pass()) return false;
    }
    return true;
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_UTF8STRUCTURE_H
