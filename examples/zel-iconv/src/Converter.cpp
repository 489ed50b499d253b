// SPDX-License-Identifier: Apache-2.0

#include "Converter.h"

#include <cstring>

#include <common/error/ErrorStorage.h>
#include <zel/report.h>
#include <zelposix/PosixError.h>

#include "IconvErrors.h"

namespace zeliconv {

namespace {

constexpr unsigned int UNCUT = 0xFFFFFFFF;
/// Bytes of U+FFFD in the longest of the encodings.
constexpr unsigned int MAX_REPLACEMENT = 4;

bool raiseText(const Character& character, unsigned long long offset, const Encoding& encoding)
{
    if (character.verdict == Verdict::UNSUPPORTED)
        ZEL_RAISE(TextError, TEXT_UNSUPPORTED, offset, character.value);
    else if (character.verdict == Verdict::CUT_OFF)
        ZEL_RAISE(TextError, TEXT_CUT_OFF, offset, encoding.name);
    else
        ZEL_RAISE(TextError, TEXT_MALFORMED, offset, encoding.name);
    return false;
}

bool raiseNoMemory()
{
    ZEL_RAISE(std::CommonError, 0);
    ZEL_RAISE_ON(FileError, FILE_UNCONVERTED);
    return false;
}

} // namespace

Converter::Converter(const Encoding* from, const Encoding& to, bool replaces,
                     std::IBinOutputStream& output)
    : m_from(from), m_to(to), m_replaces(replaces), m_output(output)
{}

bool Converter::convert(std::IBinInputStream& input)
{
    const Encoding* from = m_from;
    m_size = 0;
    m_offset = 0;
    m_isLast = false;
    while (!m_isLast) {
        if (!fill(input)) return false;
        unsigned int done = 0;
        if (from == nullptr) from = &detectEncoding(m_block, m_size, done);
        if (!convertBlock(*from, done)) return false;
        m_offset += done;
        m_size -= done;
        std::memmove(m_block, m_block + done, m_size);
    }
    return true;
}

bool Converter::fill(std::IBinInputStream& input)
{
    while (m_size < BLOCK_SIZE) {
        unsigned int got = 0;
        if (input.read(m_block + m_size, BLOCK_SIZE - m_size, got) == 1) {
            m_size += got;
            continue;
        }
        if (!zel::isEndOfStream()) {
            ZEL_RAISE_ON(FileError, FILE_UNREAD);
            return false;
        }
        std::ErrorStorage::ack();
        m_isLast = true;
        return true;
    }
    return true;
}

bool Converter::convertBlock(const Encoding& from, unsigned int& done)
{
    while (done < m_size) {
        const unsigned int begin = done;
        const Character stop = scanRun(from, done);
        if (!writeRun(from, begin, done)) return false;
        if (stop.verdict == Verdict::SOUND) return true;
        if (stop.verdict == Verdict::CUT_OFF && !m_isLast) return true;
        if (!m_replaces) return raiseText(stop, m_offset + done, from);
        if (!writeReplacement()) return false;
        done += stop.size;
    }
    return true;
}

/// Moves `done` over characters that are sound. Returns the one that is not, or the last one.
Character Converter::scanRun(const Encoding& from, unsigned int& done) const
{
    Character character{Verdict::SOUND, 0, 0};
    while (done < m_size) {
        character = from.scan(m_block + done, m_size - done);
        if (character.verdict != Verdict::SOUND) break;
        done += character.size;
    }
    return character;
}

bool Converter::writeRun(const Encoding& from, unsigned int begin, unsigned int end)
{
    if (begin == end) return true;
    const std::SharedBuf text = from.codec->to(*m_to.codec, m_block + begin, end - begin, UNCUT);
    if (text.payload() == nullptr) return raiseNoMemory();
    const bool isWritten = write(text.payload(), text.length());
    text.unref();
    return isWritten;
}

bool Converter::writeReplacement()
{
    m_isClean = false;
    unsigned char bytes[MAX_REPLACEMENT];
    std::unicode::Codec::Index end;
    m_to.codec->write_forward(bytes, sizeof(bytes), end, std::unicode::REPLACEMENT_CHAR);
    return write(bytes, end.bytes);
}

bool Converter::write(const unsigned char* bytes, unsigned int size)
{
    while (size > 0) {
        unsigned int written = 0;
        if (m_output.write(bytes, size, written) != 1) {
            ZEL_RAISE_ON(FileError, FILE_UNWRITTEN);
            return false;
        }
        bytes += written;
        size -= written;
    }
    return true;
}

} // namespace zeliconv
