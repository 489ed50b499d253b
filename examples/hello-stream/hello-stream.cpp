// SPDX-License-Identifier: Apache-2.0
//
// Binary streams of one's own: one for each direction that sums up what passes through it on its
// way to or from another stream (CRC-32), with the standard's formatted streams on top.

#include <array>
#include <cstdint>
#include <cstdio>
#include <istream>
#include <ostream>
#include <string>

#include <zelcommon.h>
#include <zelposix.h>

namespace {

/// CRC-32 with the polynomial 0x04C11DB7, reflected, as in IEEE 802.3.
class Checksum
{
public:
    void add(const void* data, unsigned int size)
    {
        const auto* const bytes = static_cast<const unsigned char*>(data);
        for (unsigned int i = 0; i < size; ++i)
            addByte(bytes[i]);
    }
    std::uint32_t value() const { return ~m_rest; }

private:
    static constexpr std::uint32_t POLYNOMIAL = 0xEDB88320;

    void addByte(unsigned char byte)
    {
        m_rest ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            m_rest = (m_rest >> 1) ^ ((m_rest & 1) != 0 ? POLYNOMIAL : 0);
    }

    std::uint32_t m_rest = 0xFFFFFFFF;
};

/// Writes to `to`, which is not owned and must outlive it. Without a buffer: what is summed up is
/// out.
class ChecksumOutput : public std::IBinOutputStream
{
public:
    explicit ChecksumOutput(std::IBinOutputStream& to) : IBinOutputStream(true, 0), m_to(to) {}
    const Checksum& checksum() const { return m_checksum; }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        const auto* const bytes = static_cast<const unsigned char*>(data);
        while (written < size) { // the stream below may take a part
            unsigned int part = 0;
            const bool isWritten = m_to.write(bytes + written, size - written, part) == 1;
            m_checksum.add(bytes + written, part);
            written += part;
            if (!isWritten) return fail();
        }
        return false;
    }
    bool performFlush() override { return m_to.flush(true) && fail(); }

private:
    static bool fail()
    {
        ZEL_RAISE_ON(StreamError, 1); // what the stream below has raised is the cause
        return true;
    }

    std::IBinOutputStream& m_to;
    Checksum m_checksum;
};

/// Reads from `from`, which is not owned and must outlive it.
class ChecksumInput : public std::IBinInputStream
{
public:
    explicit ChecksumInput(std::IBinInputStream& from) : IBinInputStream(true, 0), m_from(from) {}
    const Checksum& checksum() const { return m_checksum; }

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        const char status = m_from.read(data, size, got);
        m_checksum.add(data, got);
        return status != 1 && status != 0; // the end has its error from the stream below
    }

private:
    std::IBinInputStream& m_from;
    Checksum m_checksum;
};

bool writeLevels(zel::MemoryOutputStream& memory)
{
    ChecksumOutput output(memory);
    std::BinBuffer buffer(output);
    std::ostream stream(&buffer);
    for (const int level : {123, 456, 789})
        stream << level << ' ';
    stream << std::flush; // nothing is flushed on destruction
    std::printf("written: %u bytes, checksum %08X\n", memory.size(), output.checksum().value());
    return stream.good();
}

void readLevels(const void* data, unsigned int size)
{
    zel::MemoryInputStream memory(data, size);
    ChecksumInput input(memory);
    std::BinBuffer buffer(input, 5); // small, so that the text comes in several pieces
    std::istream stream(&buffer);
    int sum = 0;
    for (int level = 0; stream >> level;)
        sum += level;
    std::printf("read: levels of %d in all, checksum %08X\n", sum, input.checksum().value());
}

/// A stream below that fails: what it raises is the cause of the failure above it.
void overflow()
{
    char room[4];
    zel::MemoryOutputStream full(room, sizeof(room));
    ChecksumOutput output(full);
    unsigned int written = 0;
    if (output.write("123456789", 9, written) == 1) return;
    std::printf("not written, but for %u bytes with the checksum %08X:\n", written,
                output.checksum().value());
    for (const std::ErrorObject* error = std::ErrorStorage::get(); error; error = error->m_cause)
        std::printf("  %s\n", error->reason());
    std::ErrorStorage::ack();
}

} // namespace

int main()
{
    const std::StdoutDumpErrorStorage errors;
    Checksum known;
    known.add("123456789", 9);
    std::printf("known: %08X\n", known.value());

    zel::MemoryOutputStream memory;
    if (!writeLevels(memory)) return 1;
    readLevels(memory.data(), memory.size());
    overflow();
}
