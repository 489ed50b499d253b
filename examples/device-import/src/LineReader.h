// SPDX-License-Identifier: Apache-2.0
//
// Reads a file line by line, with a bound for everything: whatever the file holds, reading ends and
// takes little memory.
//
//     LineReader reader(file);
//     while (reader.next(line) == LineReader::Result::LINE) use(line);

#ifndef DEVICE_IMPORT_LINEREADER_H
#define DEVICE_IMPORT_LINEREADER_H

#include <streambuf>
#include <string>

#include <common/unicode/String.h>

namespace deviceimport {

/// A file as a sequence of lines, in the encoding that its byte order mark tells. Not thread-safe.
///
/// The file is read in blocks of MAX_SKIPPED bytes. The lines of a block are not copied out of it:
/// each is a text that shares the block's bytes, and the block goes with the last of them.
class LineReader
{
public:
    enum class Result {
        LINE,   ///< a line was read
        BROKEN, ///< a line was too long, and was skipped; a LineError is raised
        END,    ///< the file has no more lines
        FAILED, ///< the rest of the file is out of reach; an error is raised
    };

    /// Most bytes of a line, as it is in UTF-8, its line feed not counted.
    static constexpr int MAX_LINE = 256;
    /// Bytes of the file after which a line counts as endless.
    static constexpr int MAX_SKIPPED = 64 * 1024;
    /// Most lines of a file.
    static constexpr int MAX_LINES = 1024 * 1024;

    /// Over `file`, which is not owned, must outlive this object, and raises a StreamError if it
    /// fails, as zel::FileBuf does.
    explicit LineReader(std::streambuf& file);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// Reads the next line into `line`, without its line feed and a byte order mark; the last one
    /// may lack it. It may hold bytes that are no characters. Blocks as long as the file does.
    /// `line` is undefined unless a line was read.
    /// Raises LineError LINE_TOO_LONG with Result::BROKEN.
    /// Raises LineError LINE_ENDLESS, std::CommonError 0 for want of memory or 7 for too many
    /// lines, or leaves the StreamError of the file pending, with Result::FAILED.
    Result next(std::unicode::String& line);

    /// Returns the number of the line that was read last, counted from 1.
    int number() const { return m_number; }

private:
    /// No place in a piece, which is used up then.
    static constexpr unsigned int NOWHERE = 0xFFFFFFFF;

    unsigned int read(char* data, unsigned int size, bool& failed);
    bool readMark();
    bool readBlock(std::unicode::String& block, bool& failed);
    Result readLines();
    bool hasLine() const;
    std::unicode::String takeLine();
    unsigned int findFeed(const std::unicode::String& piece, unsigned int begin) const;
    unsigned int findLastFeed(const std::unicode::String& block) const;

    std::streambuf& m_file;
    /// Whether the end of the file was seen.
    bool m_hasEnded = false;
    int m_number = 0;
    /// In the file's encoding; empty until that is known.
    std::unicode::String m_lineFeed;
    /// The pieces of the block between line feeds, except the first ones.
    std::unicode::String::Spliterator m_pieces;
    /// The piece that is taken next, and the byte in it from which on.
    std::unicode::String m_piece;
    unsigned int m_place = NOWHERE;
    /// The bytes behind those pieces.
    std::string m_rest;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_LINEREADER_H
