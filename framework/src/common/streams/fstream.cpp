// SPDX-License-Identifier: Apache-2.0

#include <common/streams/fstream.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <common/error/ErrorStorage.h>
#include <common/error/GlobalErrorHandler.h>

namespace std {

namespace {

// The places that reports name, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/common/streams/fstream";
constexpr int LINE_CREATE_BUFFER = 36;
constexpr int LINE_OVERFLOW = 127;

constexpr int END_OF_FILE = char_traits<char>::eof();
constexpr int DONE = '0';             // of overflow, never the character
constexpr unsigned int HELD_BACK = 1; // byte of the buffer, for the character that overflows

} // namespace

filebuf_base::filebuf_base(ios_base::openmode openMode, unsigned int size, char* outsideBuffer)
    : buffer(outsideBuffer), bufferSize(size), mode(openMode), userBuffer(outsideBuffer != nullptr)
{
    if (userBuffer) emptyGetArea();
}

filebuf_base::~filebuf_base()
{
    destroyBuffer();
}

void filebuf_base::createBuffer()
{
    if (buffer != nullptr) return;
    if (bufferSize == 0) bufferSize = DEFAULT_SIZE;
    userBuffer = false;
    while ((buffer = new (std::nothrow) char[bufferSize]) == nullptr)
        GlobalErrorHandler::doOutOfMem(FILE_NAME, LINE_CREATE_BUFFER, "createBuffer",
                                       "cannot allocate file buffer");
    *buffer = 0; // what a reset before any data gives back
    emptyGetArea();
    setp(nullptr, nullptr);
}

void filebuf_base::destroyBuffer()
{
    if (!userBuffer) delete[] buffer;
    buffer = nullptr;
    userBuffer = false;
    bufferSize = 0;
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
}

/// Returns whether each character is written by itself.
bool filebuf_base::writesAlone() const
{
    return bufferSize <= HELD_BACK;
}

void filebuf_base::resetPutArea()
{
    if ((mode & ios_base::out) != 0 && !writesAlone())
        setp(buffer, buffer + bufferSize - HELD_BACK);
    else
        setp(nullptr, nullptr);
}

int filebuf_base::underflow()
{
    if ((mode & ios_base::in) == 0 || writing) return END_OF_FILE;
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    if (buffer == nullptr || bufferSize == 0) return END_OF_FILE;

    int count = 0;
    const int result = readBlock(buffer, bufferSize, count);
    if (buffer == nullptr) return END_OF_FILE; // a primitive may give it up
    if (count != 0) {
        applyWindows(count);
        // Kept: for RESET_WINDOWS a stale byte is returned, though the get area is empty.
        return traits_type::to_int_type(*buffer);
    }
    if (result == 0) return END_OF_FILE;
    setp(nullptr, nullptr);
    reading = false;
    emptyGetArea();
    return END_OF_FILE;
}

int filebuf_base::uflow()
{
    const int c = underflow();
    if (c != END_OF_FILE && gptr() < egptr()) gbump(1);
    return c;
}

int filebuf_base::overflow(int c)
{
    if ((mode & ios_base::out) == 0 || reading) return END_OF_FILE;
    return pptr() == pbase() ? startWriting(c) : drain(c);
}

int filebuf_base::startWriting(int c)
{
    if (writesAlone()) {
        if (c == END_OF_FILE) return c;
        const char character = static_cast<char>(c);
        unsigned int written = 0;
        if (writeBlock(&character, 1, written) != 0) return warnOfWrite();
        writing = true;
        return DONE;
    }
    if (buffer == nullptr) return END_OF_FILE;
    writing = true;
    emptyGetArea();
    resetPutArea();
    if (c != END_OF_FILE) {
        *pptr() = static_cast<char>(c);
        pbump(1);
    }
    return DONE;
}

int filebuf_base::drain(int c)
{
    // The put pointer stays: a character that is refused is not kept.
    const bool isCharacter = c != END_OF_FILE;
    if (isCharacter) *pptr() = static_cast<char>(c);
    const auto pending = static_cast<unsigned int>(pptr() - pbase()) + (isCharacter ? 1 : 0);
    unsigned int written = 0; // kept: a short count is not looked at
    if (writeBlock(pbase(), pending, written) != 0) return warnOfWrite();
    emptyGetArea();
    resetPutArea();
    return DONE;
}

/// Warns of a write that failed, unless an error tells of it. Returns the end of file.
int filebuf_base::warnOfWrite()
{
    const int reason = errno;
    if (!ErrorStorage::isError(true))
        GlobalErrorHandler::doWarning(FILE_NAME, LINE_OVERFLOW, "overflow",
                                      "Couldn't actually write: %s", std::strerror(reason));
    return END_OF_FILE;
}

int filebuf_base::sync()
{
    if (pptr() != pbase() && overflow(END_OF_FILE) == END_OF_FILE) return END_OF_FILE;
    return flushFile() == 0 ? 0 : END_OF_FILE;
}

filebuf_base::pos_type filebuf_base::seek(long long offset, ios_base::seekdir dir)
{
    streampos result(0);
    if (seekFile(offset, dir, result) != 0) return pos_type(off_type(-1));
    reading = false;
    writing = false;
    setp(nullptr, nullptr);
    emptyGetArea();
    return result;
}

filebuf_base::pos_type filebuf_base::seekoff(off_type offset, ios_base::seekdir dir,
                                             ios_base::openmode)
{
    const off_type unread = dir == ios_base::cur && reading ? egptr() - gptr() : 0;
    if (__builtin_sub_overflow(offset, unread, &offset)) return pos_type(off_type(-1));
    return seek(offset, dir);
}

filebuf_base::pos_type filebuf_base::seekpos(pos_type position, ios_base::openmode)
{
    return seek(off_type(position), ios_base::beg);
}

} // namespace std
