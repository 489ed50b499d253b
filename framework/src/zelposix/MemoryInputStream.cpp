// SPDX-License-Identifier: Apache-2.0

#include <zelposix/MemoryInputStream.h>

#include <algorithm>
#include <cstring>

#include "PosixReport.h"

namespace zel {

MemoryInputStream::MemoryInputStream(const void* data, unsigned int size)
    : IBinInputStream(true, 0), m_next(static_cast<const unsigned char*>(data)),
      m_left(data == nullptr ? 0 : size)
{}

MemoryInputStream::~MemoryInputStream() = default;

bool MemoryInputStream::performRead(void* data, unsigned int size, unsigned int& got)
{
    got = std::min(size, m_left);
    if (got == 0) return posixcore::raiseEnd();
    std::memcpy(data, m_next, got);
    m_next += got;
    m_left -= got;
    return false;
}

} // namespace zel
