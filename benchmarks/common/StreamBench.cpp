// SPDX-License-Identifier: Apache-2.0
//
// What bytes cost on their way through a buffered binary stream, beside the C library and the
// standard's stream buffers.

#include <algorithm>
#include <cstring>
#include <vector>

#include <zelcommon.h>
#include <zelposix.h>

#include <support/Cases.h>

#include "StreamDevices.h"

namespace {

using bench::BUFFER_SIZE;
using bench::CFile;
using bench::Device;
using bench::openStandard;

void writeBinStream(benchmark::State& state, std::size_t size)
{
    const Device device("/dev/null", O_WRONLY);
    zel::FdOutputStream output(device.fd(), BUFFER_SIZE);
    const std::vector<char> block(size, 'x');
    for (auto _ : state) {
        unsigned int written = 0;
        output.write(block.data(), static_cast<unsigned int>(block.size()), written);
        benchmark::DoNotOptimize(written);
    }
}

void writeFwrite(benchmark::State& state, std::size_t size)
{
    const CFile file("/dev/null", "we");
    const std::vector<char> block(size, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(std::fwrite(block.data(), 1, block.size(), file.get()));
}

void writeStandardFilebuf(benchmark::State& state, std::size_t size)
{
    char buffer[BUFFER_SIZE];
    std::filebuf file;
    openStandard(file, buffer, "/dev/null", std::ios_base::out);
    const std::vector<char> block(size, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            file.sputn(block.data(), static_cast<std::streamsize>(block.size())));
}

void writeFileBuf(benchmark::State& state, std::size_t size)
{
    zel::FileBuf file(BUFFER_SIZE);
    file.open("/dev/null", std::ios_base::out);
    const std::vector<char> block(size, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            file.sputn(block.data(), static_cast<std::streamsize>(block.size())));
}

void readBinStream(benchmark::State& state, std::size_t size)
{
    const Device device("/dev/zero", O_RDONLY);
    zel::FdInputStream input(device.fd(), BUFFER_SIZE);
    std::vector<char> block(size);
    for (auto _ : state) {
        unsigned int got = 0;
        input.read(block.data(), static_cast<unsigned int>(block.size()), got);
        benchmark::DoNotOptimize(got);
        benchmark::DoNotOptimize(block.data());
    }
}

void readFread(benchmark::State& state, std::size_t size)
{
    const CFile file("/dev/zero", "re");
    std::vector<char> block(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::fread(block.data(), 1, block.size(), file.get()));
        benchmark::DoNotOptimize(block.data());
    }
}

void readStandardFilebuf(benchmark::State& state, std::size_t size)
{
    char buffer[BUFFER_SIZE];
    std::filebuf file;
    openStandard(file, buffer, "/dev/zero", std::ios_base::in);
    std::vector<char> block(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            file.sgetn(block.data(), static_cast<std::streamsize>(block.size())));
        benchmark::DoNotOptimize(block.data());
    }
}

void readFileBuf(benchmark::State& state, std::size_t size)
{
    zel::FileBuf file(BUFFER_SIZE);
    file.open("/dev/zero", std::ios_base::in);
    std::vector<char> block(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            file.sgetn(block.data(), static_cast<std::streamsize>(block.size())));
        benchmark::DoNotOptimize(block.data());
    }
}

/// Where bytes are copied from and to: a distance at which the processor takes no store for what a
/// later load wants, as it does near a multiple of 4096.
struct Memory
{
    alignas(4096) char source[BUFFER_SIZE];
    char gap[BUFFER_SIZE / 2];
    char target[BUFFER_SIZE];
};

Memory& memory()
{
    static Memory s_memory;
    return s_memory;
}

/// Gives the same bytes again and again.
class RepeatingInput : public std::IBinInputStream
{
public:
    RepeatingInput() : IBinInputStream(true, BUFFER_SIZE) {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        got = std::min(size, BUFFER_SIZE);
        std::memcpy(data, memory().source, got);
        return false; // no failure
    }
};

void readMemory(benchmark::State& state, std::size_t size)
{
    RepeatingInput input;
    char* const target = memory().target;
    for (auto _ : state) {
        unsigned int got = 0;
        input.read(target, static_cast<unsigned int>(size), got);
        benchmark::DoNotOptimize(got);
        benchmark::ClobberMemory();
    }
}

void copyMemory(benchmark::State& state, std::size_t size)
{
    char* const target = memory().target;
    for (auto _ : state) {
        std::memcpy(target, memory().source, size);
        benchmark::DoNotOptimize(target);
        benchmark::ClobberMemory();
    }
}

/// The first read fills the whole block, and the first write takes it.
void checkTransfer(unsigned int size)
{
    const Device zero("/dev/zero", O_RDONLY);
    const Device null("/dev/null", O_WRONLY);
    zel::FdInputStream input(zero.fd(), BUFFER_SIZE);
    zel::FdOutputStream output(null.fd(), BUFFER_SIZE);
    RepeatingInput repeating;
    char block[BUFFER_SIZE] = {};
    unsigned int count = 0;
    bench::require(input.read(block, size, count) == 1 && count == size, "read");
    bench::require(output.write(block, size, count) == 1 && count == size, "write");
    std::memset(memory().source, 'x', BUFFER_SIZE);
    bench::require(repeating.read(block, size, count) == 1 && count == size, "read of memory");
    bench::require(block[0] == 'x' && block[size - 1] == 'x', "bytes");
}

} // namespace

void bench::registerCases()
{
    for (const unsigned int size : {1U, 16U, 64U, BUFFER_SIZE})
        checkTransfer(size);
    const auto sizes = {std::size_t{1}, std::size_t{16}, std::size_t{64}, std::size_t{4096}};
    add("write",
        {{"ours", writeBinStream}, {"std::filebuf", writeStandardFilebuf}, {"fwrite", writeFwrite}},
        sizes);
    add("read",
        {{"ours", readBinStream}, {"std::filebuf", readStandardFilebuf}, {"fread", readFread}},
        sizes);
    add("readMemory", {{"ours", readMemory}, {"floor:memcpy", copyMemory}}, {4096});
    add("writeFileBuf", {{"ours", writeFileBuf}, {"std::filebuf", writeStandardFilebuf}}, sizes);
    add("readFileBuf", {{"ours", readFileBuf}, {"std::filebuf", readStandardFilebuf}}, sizes);
}
