// SPDX-License-Identifier: Apache-2.0

#include "LineReader.h"

#include <algorithm>
#include <cstring>

#include <common/IBinStreamBase.h>
#include <common/error/ErrorStorage.h>
#include <zel/report.h>

#include "FileEncoding.h"
#include "ImportErrors.h"

namespace deviceimport {

namespace {

using std::unicode::String;

constexpr unsigned int BLOCK_SIZE = LineReader::MAX_SKIPPED;

static_assert(BLOCK_SIZE % sizeof(char32_t) == 0, "a full block ends with a whole unit");

/// Returns true if the code unit of `text` at byte `place` is `unit`.
bool isAt(unsigned int place, const String& text, const String& unit)
{
    return std::memcmp(text.data() + place, unit.data(), unit.byteLength()) == 0;
}

/// Returns the bytes of `text` from `begin` to `end`, which are shared.
String bytesOf(const String& text, unsigned int begin, unsigned int end)
{
    const std::SharedBuf head = text.buffer().shrink(text.byteLength() - end);
    const std::SharedBuf bytes = head + begin;
    String part(bytes, text.codec());
    bytes.unref();
    head.unref();
    return part;
}

bool isTooLong(const String& line)
{
    constexpr unsigned int limit = LineReader::MAX_LINE;
    if (&line.codec() == &std::unicode::UTF8) return line.byteLength() > limit;
    return line.size() > limit || line.toUtf8().size() > limit;
}

} // namespace

LineReader::LineReader(std::streambuf& file) : m_file(file) {}

LineReader::Result LineReader::next(String& line)
{
    if (!hasLine()) {
        const Result result = readLines();
        if (result != Result::LINE) return result;
    }
    if (m_number == MAX_LINES) {
        ZEL_RAISE(std::CommonError, 7, "lines of a device list");
        return Result::FAILED;
    }
    ++m_number;

    line = takeLine();
    if (line.byteLength() == BLOCK_SIZE) { // then it has no line feed
        ZEL_RAISE(LineError, LINE_ENDLESS, m_number, MAX_SKIPPED);
        return Result::FAILED;
    }
    if (!isTooLong(line)) return Result::LINE;
    ZEL_RAISE(LineError, LINE_TOO_LONG, MAX_LINE);
    return Result::BROKEN;
}

/// Returns how many bytes were read. They are less than `size` only at the end of the file and if
/// `failed` is set, with the error pending.
unsigned int LineReader::read(char* data, unsigned int size, bool& failed)
{
    failed = false;
    if (m_hasEnded) return 0;
    const auto count = static_cast<unsigned int>(m_file.sgetn(data, size));
    if (count == size) return count;
    // To a stream buffer a failure is an end. A pending error of another type is that of a line.
    failed = std::ErrorStorage::isError(true) &&
             std::ErrorStorage::isA(std::IBinStreamBase::StreamError);
    m_hasEnded = !failed;
    return count;
}

/// Returns false after a failure, with an error raised.
bool LineReader::readMark()
{
    char head[MAX_MARK];
    bool failed = false;
    const unsigned int size = read(head, sizeof(head), failed);
    const FileEncoding encoding = detectEncoding(head, size);
    m_lineFeed = String(*encoding.codec, '\n');
    m_rest.assign(head + encoding.markSize, head + size);
    return !failed;
}

/// Reads the bytes behind the lines so far, a full block or up to the end of the file, or up to a
/// failure, which `failed` tells then.
/// Returns false without memory, with an error raised.
bool LineReader::readBlock(String& block, bool& failed)
{
    const std::SharedBuf bytes(BLOCK_SIZE);
    if (bytes.data == nullptr) {
        ZEL_RAISE(std::CommonError, 0);
        return false;
    }
    const auto kept = static_cast<unsigned int>(m_rest.size());
    std::memcpy(bytes.payload(), m_rest.data(), kept);
    char* const free = reinterpret_cast<char*>(bytes.payload()) + kept;
    const unsigned int filled = kept + read(free, BLOCK_SIZE - kept, failed);
    const std::SharedBuf text = bytes.shrink(BLOCK_SIZE - filled);
    block = String(text, m_lineFeed.codec());
    text.unref();
    bytes.unref();
    return true;
}

/// Reads at least one line, or one without its line feed: the last one, or one that fills a block.
LineReader::Result LineReader::readLines()
{
    if (m_lineFeed.empty() && !readMark()) return Result::FAILED;
    String block;
    bool failed = false;
    if (!readBlock(block, failed)) return Result::FAILED;

    const unsigned int lastFeed = findLastFeed(block);
    if (lastFeed == NOWHERE) {
        if (failed) return Result::FAILED;
        if (block.byteLength() == 0) return Result::END;
        m_rest.clear();
        m_piece = block;
        m_place = 0;
        return Result::LINE;
    }
    // The lines before a failure come first; it comes again when they are used up.
    if (failed) std::ErrorStorage::ack();
    m_rest.assign(block.data() + lastFeed + m_lineFeed.byteLength(),
                  block.data() + block.byteLength());
    m_pieces = bytesOf(block, 0, lastFeed).split(m_lineFeed).begin();
    return Result::LINE;
}

bool LineReader::hasLine() const
{
    return m_place != NOWHERE || m_pieces != String::Spliterator();
}

String LineReader::takeLine()
{
    if (m_place == NOWHERE) {
        m_piece = *m_pieces;
        ++m_pieces;
        m_place = 0;
    }
    const unsigned int begin = m_place;
    const unsigned int feed = findFeed(m_piece, begin);
    m_place = feed == NOWHERE ? NOWHERE : feed + m_lineFeed.byteLength();
    if (begin == 0 && feed == NOWHERE) return m_piece;
    return bytesOf(m_piece, begin, std::min(feed, m_piece.byteLength()));
}

// The searches go by code units and not by characters, as `split` does: a broken sequence may take
// a line feed along as a part of its character, and the line ends there all the same.

/// Returns the place of the first line feed of `piece` from `begin` on.
unsigned int LineReader::findFeed(const String& piece, unsigned int begin) const
{
    const unsigned int size = m_lineFeed.byteLength();
    for (unsigned int end = begin + size; end <= piece.byteLength(); end += size)
        if (isAt(end - size, piece, m_lineFeed)) return end - size;
    return NOWHERE;
}

/// Returns the place of the last line feed of `block`.
unsigned int LineReader::findLastFeed(const String& block) const
{
    const unsigned int size = m_lineFeed.byteLength();
    for (unsigned int end = block.byteLength() / size * size; end > 0; end -= size)
        if (isAt(end - size, block, m_lineFeed)) return end - size;
    return NOWHERE;
}

} // namespace deviceimport
