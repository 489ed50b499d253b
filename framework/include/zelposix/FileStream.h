// SPDX-License-Identifier: Apache-2.0
//
// zel::FileStream: a standard formatted stream over a `zel::FileBuf`.
//
//     zel::FileStream file("levels.txt", std::ios_base::out);
//     file << "level " << level << '\n';
//     if (!file.commit()) return false;

#ifndef ZELPOSIX_ZELPOSIX_FILESTREAM_H
#define ZELPOSIX_ZELPOSIX_FILESTREAM_H

#include <istream>

#include <zel/attributes.h>
#include <zelposix/FileBuf.h>

namespace zel {

/// A stream that owns its file. Failures set the standard's flags, and raise errors as `FileBuf`.
class ZEL_EXPORT FileStream : public std::iostream
{
public:
    /// No file yet; the buffer is as that of `FileBuf`.
    explicit FileStream(unsigned int bufferSize = 0);
    /// As `open`.
    FileStream(const char* name, std::ios_base::openmode mode, unsigned int bufferSize = 0);
    /// Writes what is pending and closes the file.
    ~FileStream() override;

    /// Opens a file, see `FileBuf::open`. Clears the state, or sets `failbit`.
    void open(const char* name, std::ios_base::openmode mode);
    /// Writes what is pending and closes the file. Sets `failbit` on failure.
    void close();
    /// Returns whether a file is open.
    bool is_open() const { return m_buffer.is_open(); }

    /// Brings what was written to the medium, see `FileBuf::commit`; sets `badbit` if that fails.
    /// Returns whether it was done and nothing had failed before.
    bool commit();

    /// Returns the buffer over the file, which belongs to the stream.
    FileBuf* rdbuf() { return &m_buffer; }

private:
    FileBuf m_buffer;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_FILESTREAM_H
