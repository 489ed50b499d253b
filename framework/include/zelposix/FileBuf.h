// SPDX-License-Identifier: Apache-2.0
//
// zel::FileBuf: a standard stream buffer over a file of the operating system, which tells of its
// failures as errors of the thread.
//
//     zel::FileBuf file;
//     if (file.open("devices.csv", std::ios_base::in) == nullptr) return false;
//     std::istream stream(&file);

#ifndef ZELPOSIX_ZELPOSIX_FILEBUF_H
#define ZELPOSIX_ZELPOSIX_FILEBUF_H

#include <common/streams/fstream.h>
#include <zel/attributes.h>

namespace posixcore {
/// How a closed peer is kept from sending SIGPIPE; private.
enum DescriptorKind : int;
} // namespace posixcore

namespace zel {

/// A file that is read or written, and changes over by a seek alone. In difference to its base a
/// seek first writes what is pending, and so does destruction.
///
/// A call of the system that fails raises an error as well: `IBinStreamBase::StreamError` row 0 if
/// the peer has broken off, row 3 for what the file cannot do (a seek in a pipe), row 1 else, with
/// a `PosixError` as the cause. The end of a file is none, nor is what the mode or the state
/// refuses. Calls that a signal interrupts are made again; a write goes on until all is out. After
/// one that stops on its way the next one goes on from there.
class ZEL_EXPORT FileBuf : public std::filebuf_base
{
public:
    /// No file yet; the buffer is made when one is opened, and kept. A size of 0 is 2048 bytes; 1
    /// writes each character by itself. With `userBuffer`, which is not owned and must outlive this
    /// object, that is the buffer, of `bufferSize` bytes, at least 1.
    explicit FileBuf(unsigned int bufferSize = 0, char* userBuffer = nullptr);
    /// As `close`.
    ~FileBuf() override;

    /// Opens the file `name`, as the standard's file buffer does:
    ///
    ///     in                           must exist
    ///     out, out|trunc               created or emptied
    ///     app, out|app                 created, written at its end
    ///     in|out                       must exist
    ///     in|out|trunc                 created or emptied
    ///     in|app, in|out|app           created, written at its end
    ///
    /// `ate` moves to the end, `binary` changes nothing; other combinations fail with EINVAL. The
    /// file is closed in programs that this one starts. New files have the permissions 0666 less
    /// the process's mask.
    /// Returns this; null if a file is open already, which changes nothing and raises nothing, or
    /// on failure, with an error raised. No memory for the buffer is a matter of the out-of-memory
    /// handler.
    FileBuf* open(const char* name, std::ios_base::openmode openMode);

    /// Writes what is pending and closes the file, which it is in any case then.
    /// Returns this; null if no file was open, or on failure, with the error of the first raised.
    FileBuf* close();

    /// Returns whether a file is open.
    bool is_open() const { return m_fd != NO_FILE; }

    /// Writes what is pending and has the system bring it to the medium (fsync). After one that
    /// fails nobody knows what is there: write the whole file anew.
    /// Returns false on failure, with an error raised, or, with none raised, if no file is open.
    bool commit();

protected:
    /// Write what is pending, then seek as the base does.
    /// Return -1 on failure, with an error raised if the system's call failed.
    /// @{
    pos_type seekoff(off_type offset, std::ios_base::seekdir dir,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;
    /// @}

    int readBlock(char* data, unsigned int size, int& count) override;
    int writeBlock(const char* data, unsigned int size, unsigned int& written) override;
    /// As the base says. Raises an error on failure.
    int seekFile(long long offset, std::ios_base::seekdir dir, std::streampos& result) override;
    /// Does nothing: what is written is the system's already.
    int flushFile() override;
    /// Closes the file without writing what is pending.
    int closeFile() override;

private:
    static constexpr int NO_FILE = -1;

    ZEL_LOCAL bool writePending();
    ZEL_LOCAL int release();
    ZEL_LOCAL int forget();

    int m_fd = NO_FILE;
    posixcore::DescriptorKind m_kind{};
    /// Bytes at the front of the put area that are out, though the write as a whole has failed.
    unsigned int m_out = 0;
};

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_FILEBUF_H
