// SPDX-License-Identifier: Apache-2.0

#include <zelposix/FileStream.h>

namespace zel {

FileStream::FileStream(unsigned int bufferSize) : std::iostream(nullptr), m_buffer(bufferSize)
{
    init(&m_buffer);
}

FileStream::FileStream(const char* name, std::ios_base::openmode mode, unsigned int bufferSize)
    : FileStream(bufferSize)
{
    open(name, mode);
}

FileStream::~FileStream() = default;

void FileStream::open(const char* name, std::ios_base::openmode mode)
{
    if (m_buffer.open(name, mode) == nullptr)
        setstate(failbit);
    else
        clear();
}

void FileStream::close()
{
    if (m_buffer.close() == nullptr) setstate(failbit);
}

bool FileStream::commit()
{
    if (!m_buffer.commit()) setstate(badbit);
    return !fail();
}

} // namespace zel
