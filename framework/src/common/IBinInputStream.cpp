// SPDX-License-Identifier: Apache-2.0

#include <common/IBinInputStream.h>

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
constexpr const char* FILE_NAME = "framework/src/common/IBinInputStream";
constexpr int LINE_NO_MEMORY = 28;
constexpr errorcore::Site EMPTY_SITE{FILE_NAME, 87, "read"};
constexpr errorcore::Site WARNING_SITE{FILE_NAME, 124, "read"};
constexpr const char* WARNING =
    "stream implementation indicated failure but didn't raise a StreamError!";

} // namespace

IBinInputStream::IBinInputStream(bool isBlocking, unsigned int size) : bufferSize(size)
{
    blocking = isBlocking;
    if (size == 0) return;
    buffer = new (std::nothrow) unsigned char[size];
    if (buffer == nullptr) ErrorOutput(FILE_NAME, LINE_NO_MEMORY, true)(CommonError, 0);
}

IBinInputStream::~IBinInputStream()
{
    delete[] buffer;
}

bool IBinInputStream::isValid() const
{
    return bufferSize == 0 || buffer != nullptr;
}

bool IBinInputStream::checkReadBufferConsistency()
{
    return false;
}

char IBinInputStream::read(void* data, unsigned int size, unsigned int& got)
{
    got = 0;
    if (size == 0 || data == nullptr) return NOTHING;
    if (bufferSize != 0) {
        if (checkReadBufferConsistency() || !IBinInputStream::isValid()) return FAILED;
        if (bufferSize != 0 && readPos != readEnd) {
            got = take(data, size);
            return MOVED;
        }
    }
    errorcore::assertAt(EMPTY_SITE, readPos == readEnd, "readBufferEmpty()");
    // What does not fit the buffer goes past it.
    return size < bufferSize ? refill(data, size, got) : readDirectly(data, size, got);
}

/// Moves up to `size` bytes out of the buffer. Returns how many.
unsigned int IBinInputStream::take(void* data, unsigned int size)
{
    const unsigned int count = std::min(readEnd - readPos, size);
    std::memcpy(data, buffer + readPos, count);
    readPos += count;
    if (readPos == readEnd) readPos = readEnd = 0;
    return count;
}

char IBinInputStream::refill(void* data, unsigned int size, unsigned int& got)
{
    unsigned int count = 0;
    const bool hasFailed = performRead(buffer, bufferSize, count);
    readPos = 0;
    readEnd = std::min(count, bufferSize); // of a failed transfer as well: the next read has it
    if (hasFailed) {
        streamcore::printUnlessRaised("read");
        return FAILED;
    }
    got = take(data, size);
    return got != 0 ? MOVED : NOTHING;
}

char IBinInputStream::readDirectly(void* data, unsigned int size, unsigned int& got)
{
    unsigned int count = 0;
    if (performRead(data, size, count)) {
        streamcore::warnUnlessRaised(WARNING_SITE, WARNING);
        return FAILED;
    }
    got = std::min(count, size);
    return got != 0 ? MOVED : NOTHING;
}

} // namespace std
