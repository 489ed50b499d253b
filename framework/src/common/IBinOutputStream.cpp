// SPDX-License-Identifier: Apache-2.0

#include <common/IBinOutputStream.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <common/error/Error.h>

#include "StreamReport.h"

namespace std {

namespace {

using streamcore::FAILED;
using streamcore::MOVED;
using streamcore::NOTHING;

// The places that reports name, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/common/IBinOutputStream";
constexpr int LINE_NO_MEMORY = 28;
constexpr errorcore::Site WARNING_SITE{FILE_NAME, 118, "write"};
// "failurebut" is kept: tools match the text.
constexpr const char* WARNING =
    "stream implementation indicated failurebut didn't raise a StreamError!";

} // namespace

IBinOutputStream::IBinOutputStream(bool isBlocking, unsigned int size) : bufferSize(size)
{
    blocking = isBlocking;
    if (size == 0) return;
    buffer = new (std::nothrow) unsigned char[size];
    if (buffer == nullptr) ErrorOutput(FILE_NAME, LINE_NO_MEMORY, true)(CommonError, 0);
}

IBinOutputStream::~IBinOutputStream()
{
    delete[] buffer;
}

bool IBinOutputStream::isValid() const
{
    return bufferSize == 0 || buffer != nullptr;
}

bool IBinOutputStream::checkWriteBufferConsistency()
{
    return false;
}

bool IBinOutputStream::performFlush()
{
    return false;
}

char IBinOutputStream::write(const void* data, unsigned int size, unsigned int& written)
{
    written = 0;
    if (size == 0 || data == nullptr) return NOTHING;
    if (bufferSize == 0) return writeDirectly(data, size, written);
    if (checkWriteBufferConsistency() || !IBinOutputStream::isValid()) return FAILED;
    if (bufferSize == 0) return writeDirectly(data, size, written);
    return writeBuffered(static_cast<const unsigned char*>(data), size, written);
}

char IBinOutputStream::writeBuffered(const unsigned char* data, unsigned int size,
                                     unsigned int& written)
{
    if (writePos != writeEnd || size <= bufferSize) {
        written = store(data, size);
        if (writeEnd >= bufferSize) {
            unsigned int count = 0;
            // Kept: what a failed transfer has taken stays in the buffer here, and goes in flush.
            if (transfer(buffer + writePos, writeEnd - writePos, count)) {
                streamcore::printUnlessRaised("write");
                return FAILED;
            }
            drop(count);
        }
        if (written == size) return MOVED;
    }
    if (writePos != writeEnd) return written != 0 ? MOVED : NOTHING;
    return writeRest(data, size, written);
}

/// Writes what is behind the first `written` bytes past the empty buffer, and stores what the
/// implementation leaves.
char IBinOutputStream::writeRest(const unsigned char* data, unsigned int size,
                                 unsigned int& written)
{
    unsigned int count = 0;
    if (transfer(data + written, size - written, count)) {
        streamcore::printUnlessRaised("write");
        return FAILED;
    }
    written += count;
    written += store(data + written, size - written);
    return written != 0 ? MOVED : NOTHING;
}

char IBinOutputStream::writeDirectly(const void* data, unsigned int size, unsigned int& written)
{
    if (transfer(data, size, written)) {
        streamcore::warnUnlessRaised(WARNING_SITE, WARNING);
        return FAILED;
    }
    return written != 0 ? MOVED : NOTHING;
}

/// Calls the implementation. Returns whether it failed; `written` is never more than `size`.
bool IBinOutputStream::transfer(const void* data, unsigned int size, unsigned int& written)
{
    written = 0;
    const bool hasFailed = performWrite(data, size, written);
    written = std::min(written, size);
    return hasFailed;
}

/// Puts up to `size` bytes behind what the buffer holds, which a hook may have made smaller.
/// Returns how many.
unsigned int IBinOutputStream::store(const void* data, unsigned int size)
{
    const unsigned int room = bufferSize - std::min(writeEnd, bufferSize);
    const unsigned int count = std::min(size, room);
    std::memcpy(buffer + writeEnd, data, count);
    writeEnd += count;
    return count;
}

/// Takes `count` bytes that are out from the buffer's front.
void IBinOutputStream::drop(unsigned int count)
{
    writePos += count;
    if (writePos == writeEnd) writePos = writeEnd = 0;
}

bool IBinOutputStream::flush(bool deep)
{
    const bool holdsBytes = bufferSize != 0 && writePos != writeEnd;
    if (holdsBytes && (checkWriteBufferConsistency() || flushBuffer())) return true;
    if (!deep || !performFlush()) return false;
    streamcore::printUnlessRaised("flush");
    return true;
}

/// Hands the buffer to the implementation. Returns whether that failed.
bool IBinOutputStream::flushBuffer()
{
    while (writePos != writeEnd) {
        unsigned int count = 0;
        const bool hasFailed = transfer(buffer + writePos, writeEnd - writePos, count);
        drop(count);
        if (hasFailed) {
            streamcore::printUnlessRaised("flush");
            return true;
        }
        if (!blocking) return false;
    }
    return false;
}

} // namespace std
