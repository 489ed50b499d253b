// SPDX-License-Identifier: Apache-2.0
//
// Looks at one encoded character and tells what is wrong with it. Stricter than the library's
// codecs, which accept overlong forms and large values and never tell: what is sound here is
// well-formed by the Unicode standard, and comes out of the codecs as it went in.
//
//     const Character first = scanUtf8(bytes, size);
//     if (first.verdict != Verdict::SOUND) return false;

#ifndef ZEL_ICONV_CHARACTER_H
#define ZEL_ICONV_CHARACTER_H

namespace zeliconv {

enum class Verdict {
    SOUND,
    MALFORMED,
    /// The bytes end inside it; what there is of it is sound.
    CUT_OFF,
    /// Sound, but the library's codecs replace it: U+1D800 and its like, a value above U+FFFF whose
    /// low 16 bits are a surrogate.
    UNSUPPORTED,
};

struct Character
{
    Verdict verdict;
    /// Bytes of it, at least 1. Of a malformed one those before the byte that does not belong to
    /// it.
    unsigned int size;
    /// The code point of a character that is sound or not supported.
    unsigned int value;
};

/// Looks at the first character of `bytes[0..size)`. Requires that `size` is not 0.
using Scanner = Character (*)(const unsigned char* bytes, unsigned int size);

Character scanUtf8(const unsigned char* bytes, unsigned int size);
Character scanUtf16Little(const unsigned char* bytes, unsigned int size);
Character scanUtf16Big(const unsigned char* bytes, unsigned int size);
Character scanUcs4Little(const unsigned char* bytes, unsigned int size);
Character scanUcs4Big(const unsigned char* bytes, unsigned int size);

} // namespace zeliconv

#endif // ZEL_ICONV_CHARACTER_H
