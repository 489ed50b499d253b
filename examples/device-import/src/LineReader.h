// SPDX-License-Identifier: Apache-2.0
//
// Reads a file line by line, with a bound for everything: whatever the file holds, reading ends and
// takes little memory.
//
//     LineReader reader;
//     if (!reader.open(name)) return false;
//     while (reader.next(line) == LineReader::Result::LINE) use(line);

#ifndef DEVICE_IMPORT_LINEREADER_H
#define DEVICE_IMPORT_LINEREADER_H

#include <cstdio>
#include <string>

namespace deviceimport {

/// A file as a sequence of lines. Not thread-safe.
class LineReader
{
public:
    enum class Result {
        LINE,   ///< a line was read
        BROKEN, ///< a line was too long, and was skipped; a LineError is raised
        END,    ///< the file has no more lines
        FAILED, ///< the rest of the file is out of reach; an error is raised
    };

    /// Most bytes of a line, its line feed not counted.
    static constexpr int MAX_LINE = 256;
    /// Bytes after which a line counts as endless.
    static constexpr int MAX_SKIPPED = 64 * 1024;
    /// Most lines of a file.
    static constexpr int MAX_LINES = 64 * 1024;

    LineReader() = default;
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// Opens the file `name`. Requires that no file was opened before.
    /// Returns false if there is none to be read, with an ImportError raised.
    bool open(const std::string& name);

    /// Reads the next line into `line`, without its line feed; the last one may lack it. Blocks as
    /// long as the file does. Requires an open file. `line` is undefined unless a line was read.
    /// Raises LineError LINE_TOO_LONG with Result::BROKEN.
    /// Raises LineError LINE_ENDLESS, std::CommonError 7 for too many lines, or ImportError
    /// IMPORT_SYSTEM_CALL with Result::FAILED.
    Result next(std::string& line);

    /// Returns the number of the line that was read last, counted from 1.
    int number() const { return m_number; }

private:
    Result end() const;
    Result skipRest();

    std::FILE* m_file = nullptr;
    int m_number = 0;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_LINEREADER_H
