// SPDX-License-Identifier: Apache-2.0

#include <zelposix/MemoryOutputStream.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <zel/report.h>

#include "PosixReport.h"

namespace zel {

namespace {

constexpr unsigned int FIRST_CAPACITY = 64;

} // namespace

MemoryOutputStream::MemoryOutputStream() : IBinOutputStream(true, 0), m_grows(true) {}

MemoryOutputStream::MemoryOutputStream(void* data, unsigned int capacity)
    : IBinOutputStream(true, 0), m_data(static_cast<unsigned char*>(data)),
      m_capacity(data == nullptr ? 0 : capacity), m_grows(false)
{}

MemoryOutputStream::~MemoryOutputStream()
{
    if (m_grows) std::free(m_data);
}

bool MemoryOutputStream::performWrite(const void* data, unsigned int size, unsigned int& written)
{
    if (m_grows && !reserve(size)) {
        ZEL_RAISE(std::CommonError, 0);
        ZEL_RAISE_ON(StreamError, posixcore::STREAM_FAILED);
        return true;
    }
    written = std::min(size, m_capacity - m_size);
    if (written != 0) std::memcpy(m_data + m_size, data, written);
    m_size += written;
    return written == size ? false : posixcore::raiseEnd();
}

/// Makes room for `size` more bytes. Returns whether there is.
bool MemoryOutputStream::reserve(unsigned int size)
{
    if (size <= m_capacity - m_size) return true;
    if (size > UINT_MAX - m_size) return false;
    const unsigned int doubled = m_capacity > UINT_MAX / 2 ? UINT_MAX : m_capacity * 2;
    const unsigned int wanted = std::max({m_size + size, doubled, FIRST_CAPACITY});
    void* const data = std::realloc(m_data, wanted);
    if (data == nullptr) return false;
    m_data = static_cast<unsigned char*>(data);
    m_capacity = wanted;
    return true;
}

} // namespace zel
