// SPDX-License-Identifier: Apache-2.0
//
// Converts streams of text block by block, whatever their length, in the same memory. A character
// that the end of a block cuts off goes to the next one.
//
//     Converter converter(nullptr, *findEncoding("UTF-8"), false, output);
//     if (!converter.convert(input)) return false;

#ifndef ZEL_ICONV_CONVERTER_H
#define ZEL_ICONV_CONVERTER_H

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>

#include "Encoding.h"

namespace zeliconv {

/// One output and what its inputs are converted with. Not thread-safe.
class Converter
{
public:
    /// From `from`, whose marks are characters as others; null has each input's mark say it, which
    /// is left out then. `replaces` has U+FFFD written for what is not sound. `output` is not owned
    /// and must outlive the converter.
    Converter(const Encoding* from, const Encoding& to, bool replaces,
              std::IBinOutputStream& output);

    /// Converts `input` up to its end. The output is not flushed.
    /// Returns whether all of it went out. Raises TextError with false where the input is not sound
    /// and nothing is to be replaced, what stands before that is out; FileError for all else.
    bool convert(std::IBinInputStream& input);

    /// Returns whether nothing was replaced so far.
    bool isClean() const { return m_isClean; }

private:
    static constexpr unsigned int BLOCK_SIZE = 64 * 1024;

    bool fill(std::IBinInputStream& input);
    bool convertBlock(const Encoding& from, unsigned int& done);
    Character scanRun(const Encoding& from, unsigned int& done) const;
    bool writeRun(const Encoding& from, unsigned int begin, unsigned int end);
    bool writeReplacement();
    bool write(const unsigned char* bytes, unsigned int size);

    const Encoding* m_from;
    const Encoding& m_to;
    const bool m_replaces;
    std::IBinOutputStream& m_output;
    bool m_isClean = true;

    /// The input's bytes from `m_offset` on, `m_size` of them.
    unsigned char m_block[BLOCK_SIZE] = {};
    unsigned int m_size = 0;
    unsigned long long m_offset = 0;
    bool m_isLast = false;
};

} // namespace zeliconv

#endif // ZEL_ICONV_CONVERTER_H
