// SPDX-License-Identifier: Apache-2.0
//
// std::filebuf_base: the base of stream buffers for files. It owns one buffer for reading and
// writing, of which only one goes on at a time; the access to the file is left to five primitives
// of a derived class.
//
//     class RamFile : public std::filebuf_base { ... int readBlock(char*, unsigned, int&) override;
//     };

#ifndef ZELCOMMON_COMMON_STREAMS_FSTREAM_H
#define ZELCOMMON_COMMON_STREAMS_FSTREAM_H

#include <ios>
#include <streambuf>

#include <zel/attributes.h>

namespace std {

/// A stream buffer for files. A successful seek ends reading and writing; in between, reading
/// refuses while characters have been put, and writing while characters have been read. One thread
/// at a time. Destruction writes nothing: a derived class syncs in its own destructor.
class ZEL_EXPORT filebuf_base : public basic_streambuf<char>
{
public:
    /// What a read primitive reports as its count to have both areas reset.
    static constexpr int RESET_WINDOWS = -1;

    ~filebuf_base() override;
    filebuf_base(const filebuf_base&) = delete;
    filebuf_base& operator=(const filebuf_base&) = delete;

protected:
    /// Bytes of the buffer where a size of 0 is asked for.
    static constexpr unsigned int DEFAULT_SIZE = 2048;

    /// Of `mode` only `in` and `out` are looked at. With `userBuffer`, which is not owned and must
    /// outlive this object, that is the buffer; otherwise the derived class calls `createBuffer`
    /// before anything is read or written. A size below 2 writes each character by itself.
    filebuf_base(ios_base::openmode mode, unsigned int bufferSize = 0, char* userBuffer = nullptr);

    /// Makes the buffer, unless there is one. Without memory it calls the out-of-memory handler,
    /// and tries again when that returns.
    void createBuffer();
    /// Frees the buffer, unless it came from outside. The next one has the default size.
    void destroyBuffer();

    /// Returns the next byte, or the end of file.
    int underflow() override;
    /// As `underflow`, and moves on, unless the byte is one that `RESET_WINDOWS` left.
    int uflow() override;
    /// Writes what is pending and `c`, which is refused if that fails. Returns '0' for success,
    /// whatever `c` is. Warns if the write fails and no error is recorded.
    int overflow(int c) override;
    /// Writes what is pending, and flushes the file. Returns 0, or -1.
    int sync() override;
    /// Seeks. Characters that are not written yet are dropped: sync before. `which` does not
    /// matter.
    pos_type seekoff(off_type offset, ios_base::seekdir dir, ios_base::openmode which) override;
    pos_type seekpos(pos_type position, ios_base::openmode which) override;

    /// Reads up to `size` bytes into `data`; `count`, which is 0 before, tells how many (0 at the
    /// end of the file), or is `RESET_WINDOWS`. Returns 0 for success.
    virtual int readBlock(char* data, unsigned int size, int& count) = 0;
    /// Writes `data[0..size)`. Returns 0 for success; `errno` tells of a failure.
    virtual int writeBlock(const char* data, unsigned int size, unsigned int& written) = 0;
    /// Moves the position in the file, and tells the new one. Returns 0 for success.
    virtual int seekFile(long long offset, ios_base::seekdir dir, streampos& result) = 0;
    /// Pushes what is written to the file. Returns 0 for success, 1 for failure.
    virtual int flushFile() = 0;
    /// For the derived class; never called here.
    virtual int closeFile() = 0;

    char* buffer;
    unsigned int bufferSize;
    ios_base::openmode mode;
    /// Whether the buffer came from outside.
    bool userBuffer;
    /// Whether the get area holds what was read from the file.
    bool reading = false;
    /// Whether characters have been put since the last seek or refill.
    bool writing = false;

private:
    ZEL_LOCAL void applyWindows(int count);
    ZEL_LOCAL void emptyGetArea();
    ZEL_LOCAL void resetPutArea();
    ZEL_LOCAL int startWriting(int c);
    ZEL_LOCAL int writePending(int c);
    ZEL_LOCAL int warnOfWrite();
    ZEL_LOCAL pos_type seek(long long offset, ios_base::seekdir dir);
};

} // namespace std

#endif // ZELCOMMON_COMMON_STREAMS_FSTREAM_H
