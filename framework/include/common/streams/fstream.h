// SPDX-License-Identifier: Apache-2.0
//
// std::filebuf_base: the base of stream buffers for files. It owns one buffer for reading and
// writing, of which only one goes on at a time; the access to the file is left to five primitives
// of a derived class.
//
//     class RamFile : public std::filebuf_base
//     {
//         int readBlock(char* data, unsigned int size, int& count) override;
//         ...
//     };

#ifndef ZELCOMMON_COMMON_STREAMS_FSTREAM_H
#define ZELCOMMON_COMMON_STREAMS_FSTREAM_H

#include <algorithm>
#include <ios>
#include <streambuf>

#include <common/error/GlobalErrorHandler.h>
#include <zel/attributes.h>

namespace std {

/// A stream buffer for files. It reads or writes: reading is refused from the first character that
/// is put on, also behind a sync, and writing from the first one that is read on, until a seek
/// succeeds. A tell is a seek, too. Destruction writes nothing: a derived class syncs in its own
/// destructor. Not thread-safe.
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
    /// outlive this object, that is the buffer, of `bufferSize` bytes; otherwise the derived class
    /// calls `createBuffer` before anything is read or written. With a size below 2 each character
    /// is written by itself; from an outside buffer of size 0 nothing is read.
    filebuf_base(ios_base::openmode mode, unsigned int bufferSize = 0, char* userBuffer = nullptr);

    /// Makes a buffer of `bufferSize` bytes, or of the default size for 0, unless there is one.
    /// Without memory it calls the out-of-memory handler, and tries again when that returns.
    void createBuffer();
    /// Frees the buffer, unless it came from outside. The next one has the default size.
    void destroyBuffer();

    /// Returns the next byte.
    /// Returns the end of file without an input mode or a buffer, while writing, at the end, and if
    /// the read fails and gives nothing, which ends reading.
    int underflow() override;
    /// As `underflow`, and moves on, unless the byte is one that `RESET_WINDOWS` left.
    int uflow() override;
    /// Puts `c`, if it is no end of file. What is pending is written first, together with it.
    /// Returns '0', whatever `c` is.
    /// Returns the end of file without an output mode or a buffer, while reading, and if the write
    /// fails: `c` is refused then, what is pending stays, and a warning is given unless an error is
    /// recorded. So it does for an end of file where each character is written by itself.
    int overflow(int c) override;
    /// Writes what is pending, and flushes the file. Returns 0, or -1 if either fails; then the
    /// file is not flushed, or what was pending is written.
    int sync() override;
    /// Seek; `cur` counts from the next character that was not read yet. Characters that are not
    /// written yet are dropped: sync before. `which` does not matter.
    /// Return the new position.
    /// Return -1 on failure, and for an offset out of range; nothing is changed.
    /// @{
    pos_type seekoff(off_type offset, ios_base::seekdir dir, ios_base::openmode which) override;
    pos_type seekpos(pos_type position, ios_base::openmode which) override;
    /// @}

    /// Makes the get area what a read of `count` bytes has put into the buffer, or resets it for
    /// `RESET_WINDOWS`; there is no put area then.
    /// Asserts that `count` is no less ("p_offset >= RESET_WINDOWS"), then goes on as for that.
    void applyWindows(int count)
    {
        GlobalErrorHandler::doAssert(count >= RESET_WINDOWS, "p_offset >= RESET_WINDOWS",
                                     "framework/include/common/streams/fstream", 141,
                                     "applyWindows", nullptr);
        emptyGetArea();
        if (count >= 1 && (mode & ios_base::in) != 0)
            setg(buffer, buffer, buffer + min(static_cast<unsigned int>(count), bufferSize));
        setp(nullptr, nullptr);
        reading = true;
    }

    /// Reads up to `size` bytes into `data`; `count`, which is 0 before, tells how many (0 at the
    /// end of the file, never more than `size`), or is `RESET_WINDOWS`. What it counts is read also
    /// on failure. Returns 0 for success.
    virtual int readBlock(char* data, unsigned int size, int& count) = 0;
    /// Writes `data[0..size)`, all of it: `written` is not looked at. After a failure the same
    /// bytes are given again, with a further one or without. Returns 0 for success; `errno` tells
    /// of a failure.
    virtual int writeBlock(const char* data, unsigned int size, unsigned int& written) = 0;
    /// Moves the position in the file, and tells the new one. Returns 0 for success.
    virtual int seekFile(long long offset, ios_base::seekdir dir, streampos& result) = 0;
    /// Pushes what is written to the file. Returns 0 for success.
    virtual int flushFile() = 0;
    /// For the derived class; never called here.
    virtual int closeFile() = 0;

    /// Owned unless `userBuffer`; null if there is none.
    char* buffer;
    /// Bytes of `buffer`, or of the one that is made next.
    unsigned int bufferSize;
    /// `in` and `out` allow reading and writing; without them each read or write is refused.
    ios_base::openmode mode;
    /// Whether the buffer came from outside.
    bool userBuffer;
    /// Whether the get area holds what was read from the file.
    bool reading = false;
    /// Whether characters have been put since the last seek or refill.
    bool writing = false;

private:
    void emptyGetArea() { setg(buffer, buffer, buffer); }
    ZEL_LOCAL bool writesAlone() const;
    ZEL_LOCAL void resetPutArea();
    ZEL_LOCAL int startWriting(int c);
    ZEL_LOCAL int drain(int c);
    ZEL_LOCAL int warnOfWrite();
    ZEL_LOCAL pos_type seek(long long offset, ios_base::seekdir dir);
};

} // namespace std

#endif // ZELCOMMON_COMMON_STREAMS_FSTREAM_H
