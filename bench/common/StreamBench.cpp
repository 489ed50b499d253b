// SPDX-License-Identifier: Apache-2.0
//
// What bytes cost on their way through a buffered binary stream and through formatted output,
// beside the C library and the standard's stream buffers. Devices cost nothing here: they are
// /dev/null, /dev/zero and memory.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <ostream>
#include <sstream>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <zelcommon.h>
#include <zelposix.h>

namespace {

constexpr unsigned int BUFFER_SIZE = 4096;

/// A descriptor for the time of a benchmark.
class Device
{
public:
    Device(const char* name, int flags) : m_fd(open(name, flags | O_CLOEXEC)) {}
    ~Device() { close(m_fd); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

/// A file of the C library with a buffer of the same size as ours.
class CFile
{
public:
    CFile(const char* name, const char* mode) : m_file(std::fopen(name, mode))
    {
        std::setvbuf(m_file, m_buffer, _IOFBF, sizeof m_buffer);
    }
    ~CFile() { std::fclose(m_file); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    std::FILE* get() const { return m_file; }

private:
    std::FILE* m_file;
    char m_buffer[BUFFER_SIZE];
};

void openStandard(std::filebuf& file, char* buffer, const char* name, std::ios_base::openmode mode)
{
    file.pubsetbuf(buffer, BUFFER_SIZE);
    file.open(name, mode | std::ios_base::binary);
}

std::vector<char> blockOf(const benchmark::State& state)
{
    return std::vector<char>(static_cast<std::size_t>(state.range(0)), 'x');
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void writeBinStream(benchmark::State& state)
{
    const Device device("/dev/null", O_WRONLY);
    zel::FdOutputStream output(device.fd(), BUFFER_SIZE);
    const std::vector<char> block = blockOf(state);
    for (auto _ : state) {
        unsigned int written = 0;
        output.write(block.data(), static_cast<unsigned int>(block.size()), written);
        benchmark::DoNotOptimize(written);
    }
    countBytes(state);
}

void writeFwrite(benchmark::State& state)
{
    const CFile file("/dev/null", "we");
    const std::vector<char> block = blockOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(std::fwrite(block.data(), 1, block.size(), file.get()));
    countBytes(state);
}

void writeStandardFilebuf(benchmark::State& state)
{
    char buffer[BUFFER_SIZE];
    std::filebuf file;
    openStandard(file, buffer, "/dev/null", std::ios_base::out);
    const std::vector<char> block = blockOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            file.sputn(block.data(), static_cast<std::streamsize>(block.size())));
    countBytes(state);
}

void writeFileBuf(benchmark::State& state)
{
    zel::FileBuf file(BUFFER_SIZE);
    file.open("/dev/null", std::ios_base::out);
    const std::vector<char> block = blockOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            file.sputn(block.data(), static_cast<std::streamsize>(block.size())));
    countBytes(state);
}

void readBinStream(benchmark::State& state)
{
    const Device device("/dev/zero", O_RDONLY);
    zel::FdInputStream input(device.fd(), BUFFER_SIZE);
    std::vector<char> block = blockOf(state);
    for (auto _ : state) {
        unsigned int got = 0;
        input.read(block.data(), static_cast<unsigned int>(block.size()), got);
        benchmark::DoNotOptimize(block.data());
    }
    countBytes(state);
}

void readFread(benchmark::State& state)
{
    const CFile file("/dev/zero", "re");
    std::vector<char> block = blockOf(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::fread(block.data(), 1, block.size(), file.get()));
        benchmark::DoNotOptimize(block.data());
    }
    countBytes(state);
}

void readStandardFilebuf(benchmark::State& state)
{
    char buffer[BUFFER_SIZE];
    std::filebuf file;
    openStandard(file, buffer, "/dev/zero", std::ios_base::in);
    std::vector<char> block = blockOf(state);
    for (auto _ : state) {
        file.sgetn(block.data(), static_cast<std::streamsize>(block.size()));
        benchmark::DoNotOptimize(block.data());
    }
    countBytes(state);
}

void readFileBuf(benchmark::State& state)
{
    zel::FileBuf file(BUFFER_SIZE);
    file.open("/dev/zero", std::ios_base::in);
    std::vector<char> block = blockOf(state);
    for (auto _ : state) {
        file.sgetn(block.data(), static_cast<std::streamsize>(block.size()));
        benchmark::DoNotOptimize(block.data());
    }
    countBytes(state);
}

void writeCharacterBinBuffer(benchmark::State& state)
{
    const Device device("/dev/null", O_WRONLY);
    zel::FdOutputStream output(device.fd(), BUFFER_SIZE);
    std::BinBuffer buffer(output, BUFFER_SIZE);
    for (auto _ : state)
        benchmark::DoNotOptimize(buffer.sputc('x'));
}

void writeCharacterFileBuf(benchmark::State& state)
{
    zel::FileBuf file(BUFFER_SIZE);
    file.open("/dev/null", std::ios_base::out);
    for (auto _ : state)
        benchmark::DoNotOptimize(file.sputc('x'));
}

void writeCharacterPutcUnlocked(benchmark::State& state)
{
    const CFile file("/dev/null", "we");
    for (auto _ : state)
        benchmark::DoNotOptimize(putc_unlocked('x', file.get()));
}

void writeCharacterStandardFilebuf(benchmark::State& state)
{
    char buffer[BUFFER_SIZE];
    std::filebuf file;
    openStandard(file, buffer, "/dev/null", std::ios_base::out);
    for (auto _ : state)
        benchmark::DoNotOptimize(file.sputc('x'));
}

void writeCharacterStringbuf(benchmark::State& state)
{
    std::stringbuf buffer;
    unsigned int count = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(buffer.sputc('x'));
        if (++count % BUFFER_SIZE == 0) buffer.pubseekpos(0, std::ios_base::out);
    }
}

/// One line of a log, with its end: what a program prints.
void printLine(std::ostream& stream, int number)
{
    stream << "pump " << number << " level " << 0.5 * number << " of "
           << "the cellar" << '\n';
}

void formatIntoBinBuffer(benchmark::State& state)
{
    char memory[256];
    for (auto _ : state) {
        zel::MemoryOutputStream output(memory, sizeof memory);
        std::BinBuffer buffer(output, sizeof memory);
        std::ostream stream(&buffer);
        printLine(stream, 7);
        stream.flush();
        benchmark::DoNotOptimize(output.size());
    }
}

void formatIntoStringstream(benchmark::State& state)
{
    for (auto _ : state) {
        std::stringstream stream;
        printLine(stream, 7);
        benchmark::DoNotOptimize(stream.rdbuf());
    }
}

void formatLinesIntoBinBuffer(benchmark::State& state)
{
    const Device device("/dev/null", O_WRONLY);
    zel::FdOutputStream output(device.fd(), BUFFER_SIZE);
    std::BinBuffer buffer(output, BUFFER_SIZE);
    std::ostream stream(&buffer);
    for (auto _ : state)
        printLine(stream, 7);
}

void formatLinesIntoStringstream(benchmark::State& state)
{
    std::stringstream stream;
    unsigned int count = 0;
    for (auto _ : state) {
        printLine(stream, 7);
        if (++count % 100 == 0) stream.seekp(0);
    }
}

BENCHMARK(writeBinStream)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(writeFileBuf)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(writeFwrite)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(writeStandardFilebuf)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(readBinStream)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(readFileBuf)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(readFread)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(readStandardFilebuf)->Arg(1)->Arg(16)->Arg(64)->Arg(4096);
BENCHMARK(writeCharacterBinBuffer);
BENCHMARK(writeCharacterFileBuf);
BENCHMARK(writeCharacterPutcUnlocked);
BENCHMARK(writeCharacterStandardFilebuf);
BENCHMARK(writeCharacterStringbuf);
BENCHMARK(formatIntoBinBuffer);
BENCHMARK(formatIntoStringstream);
BENCHMARK(formatLinesIntoBinBuffer);
BENCHMARK(formatLinesIntoStringstream);

} // namespace
