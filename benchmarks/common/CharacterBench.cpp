// SPDX-License-Identifier: Apache-2.0
//
// What characters and formatted lines cost through the standard's stream buffers over our streams,
// beside the C library and the standard's own.

#include <ostream>
#include <sstream>

#include <zelcommon.h>
#include <zelposix.h>

#include <support/Cases.h>

#include "StreamDevices.h"

namespace {

using bench::BUFFER_SIZE;
using bench::CFile;
using bench::Device;
using bench::openStandard;

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

} // namespace

void bench::registerCases()
{
    add("putCharacter", {{"ours", writeCharacterBinBuffer},
                         {"std::stringbuf", writeCharacterStringbuf},
                         {"std::filebuf", writeCharacterStandardFilebuf},
                         {"putc_unlocked", writeCharacterPutcUnlocked},
                         {"ours:FileBuf", writeCharacterFileBuf}});
    add("formatLine",
        {{"ours", formatLinesIntoBinBuffer}, {"std::stringstream", formatLinesIntoStringstream}});
    add("formatShortLived",
        {{"ours", formatIntoBinBuffer}, {"std::stringstream", formatIntoStringstream}});
}
