// SPDX-License-Identifier: Apache-2.0
//
// Construction: own buffers and buffers from outside, and what becomes of them without memory.

#include <common/BinBuffer.h>

#include <cstddef>
#include <memory>
#include <string>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ArrayMemory.h"
#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using std::ErrorStorage;
using support::arrayMemory;
using support::DeviceInput;
using support::DeviceOutput;
using support::OpenBinBuffer;
using support::OpenStorage;

constexpr int END_OF_FILE = std::char_traits<char>::eof();

struct Fields : std::BinBuffer
{
    using BinBuffer::BinBuffer;
    using BinBuffer::input;
    using BinBuffer::inputBuffer;
    using BinBuffer::inputSize;
    using BinBuffer::output;
    using BinBuffer::outputBuffer;
    using BinBuffer::outputSize;
    using BinBuffer::ownsInputBuffer;
    using BinBuffer::ownsOutputBuffer;

    /// Returns how far `field` is behind the first one.
    template <typename Field>
    std::size_t offset(const Field& field) const
    {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(&field) -
                                        reinterpret_cast<const char*>(&input));
    }
};

TEST(BinBuffer, FieldOrder)
{
    constexpr std::size_t POINTER = sizeof(void*);
    const Fields buffer(nullptr, 0, nullptr, 0);
    EXPECT_EQ(POINTER, buffer.offset(buffer.output));
    EXPECT_EQ(2 * POINTER, buffer.offset(buffer.inputSize));
    EXPECT_EQ(2 * POINTER + 4, buffer.offset(buffer.outputSize));
    EXPECT_EQ(2 * POINTER + 8, buffer.offset(buffer.inputBuffer));
    EXPECT_EQ(3 * POINTER + 8, buffer.offset(buffer.outputBuffer));
    EXPECT_EQ(4 * POINTER + 8, buffer.offset(buffer.ownsInputBuffer));
    EXPECT_EQ(4 * POINTER + 9, buffer.offset(buffer.ownsOutputBuffer));
}

TEST(BinBuffer, Fields_WithAnOutsideBufferForInput)
{
    DeviceInput input;
    DeviceOutput output;
    const std::unique_ptr<char[]> outside(new char[3]);
    const Fields buffer(&input, 3, &output, 5, outside.get());
    EXPECT_EQ(&input, buffer.input);
    EXPECT_EQ(&output, buffer.output);
    EXPECT_EQ(3U, buffer.inputSize);
    EXPECT_EQ(5U, buffer.outputSize);
    EXPECT_EQ(outside.get(), buffer.inputBuffer);
    EXPECT_NE(nullptr, buffer.outputBuffer);
    EXPECT_FALSE(buffer.ownsInputBuffer);
    EXPECT_TRUE(buffer.ownsOutputBuffer);
}

TEST(BinBuffer, OneWayForms_HaveTheDefaultSize)
{
    DeviceOutput output;
    OpenBinBuffer writer(output);
    EXPECT_EQ("+2047", writer.putArea());
    DeviceInput input;
    OpenBinBuffer reader(input);
    EXPECT_EQ(END_OF_FILE, reader.sgetc());
    EXPECT_EQ("read(2048)", input.takeCalls());
}

TEST(BinBuffer, OutsideBuffers_AreUsedAndNotFreed)
{
    DeviceInput input;
    DeviceOutput output;
    input.give("abc");
    const std::unique_ptr<char[]> in(new char[3]);
    const std::unique_ptr<char[]> out(new char[3]);
    {
        OpenBinBuffer buffer(&input, 3, &output, 3, in.get(), out.get());
        EXPECT_EQ('a', buffer.sgetc());
        EXPECT_EQ(2, buffer.sputn("12", 2));
    }
    EXPECT_EQ("abc", std::string(in.get(), 3));
    EXPECT_EQ("12", std::string(out.get(), 2));
}

#ifndef SUPPORT_FIXED_ARRAY_MEMORY

TEST(BinBuffer, OwnBuffers_AreFreed)
{
    DeviceInput input;
    DeviceOutput output;
    arrayMemory = {};
    {
        const OpenBinBuffer buffer(&input, 4, &output, 4);
        EXPECT_EQ(2, arrayMemory.allocations);
        EXPECT_EQ(0, arrayMemory.releases);
    }
    EXPECT_EQ(2, arrayMemory.allocations);
    EXPECT_EQ(2, arrayMemory.releases);
}

TEST(BinBuffer, OneWayForms_AllocateOneBuffer)
{
    DeviceOutput output;
    arrayMemory = {};
    const OpenBinBuffer writer(output);
    EXPECT_EQ(1, arrayMemory.allocations);
    DeviceInput input;
    const OpenBinBuffer reader(input);
    EXPECT_EQ(2, arrayMemory.allocations);
}

TEST(BinBuffer, OutsideBuffers_NothingIsAllocatedOrFreed)
{
    DeviceInput input;
    DeviceOutput output;
    char in[4];
    char out[4];
    arrayMemory = {};
    {
        const OpenBinBuffer buffer(&input, 4, &output, 4, in, out);
    }
    EXPECT_EQ(0, arrayMemory.allocations);
    EXPECT_EQ(0, arrayMemory.releases);
}

TEST(BinBuffer, SizesOfZero_NothingIsAllocated)
{
    DeviceInput input;
    DeviceOutput output;
    arrayMemory = {};
    {
        const OpenBinBuffer buffer(&input, 0, &output, 0);
    }
    EXPECT_EQ(0, arrayMemory.allocations);
}

/// A buffer that was constructed without memory.
struct WithoutMemory : OpenBinBuffer
{
    WithoutMemory(DeviceInput* from, DeviceOutput* to, char* in = nullptr, char* out = nullptr)
        : OpenBinBuffer(from, exhaust(4), to, 4, in, out)
    {
        arrayMemory.isExhausted = false;
    }

private:
    static unsigned int exhaust(unsigned int size)
    {
        arrayMemory.isExhausted = true;
        return size;
    }
};

TEST(BinBuffer, WithoutMemory_BothDirectionsAreAtTheirEnd)
{
    const OpenStorage storage;
    DeviceInput input;
    DeviceOutput output;
    input.give("abc");
    WithoutMemory buffer(&input, &output);
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ(0, buffer.pubsync());
    EXPECT_EQ("", input.takeCalls());
    EXPECT_EQ("", output.takeCalls());
}

TEST(BinBuffer, WithoutMemory_RaisesOutOfMemoryInAChainOfItsOwn)
{
    const OpenStorage storage;
    support::startChain(3);
    DeviceInput input;
    const WithoutMemory buffer(&input, nullptr);
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_TRUE(ErrorStorage::equals(std::CommonError));
    EXPECT_EQ("0", support::chainIds());
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    EXPECT_STREQ("framework/src/common/BinBuffer", ErrorStorage::file());
    EXPECT_EQ(41, ErrorStorage::line());
}

TEST(BinBuffer, InputWithoutMemory_OutputWorks)
{
    const OpenStorage storage;
    DeviceInput input;
    DeviceOutput output;
    input.give("abc");
    char out[4];
    WithoutMemory buffer(&input, &output, nullptr, out);
    EXPECT_TRUE(ErrorStorage::equals(std::CommonError));
    EXPECT_EQ(END_OF_FILE, buffer.sgetc());
    EXPECT_EQ("", input.takeCalls());
    EXPECT_EQ(4, buffer.sputn("abcd", 4));
    EXPECT_EQ("write(abcd)", output.takeCalls());
}

TEST(BinBuffer, OutputWithoutMemory_InputWorks)
{
    const OpenStorage storage;
    DeviceInput input;
    DeviceOutput output;
    input.give("abc");
    char in[4];
    WithoutMemory buffer(&input, &output, in);
    EXPECT_TRUE(ErrorStorage::equals(std::CommonError));
    EXPECT_EQ(END_OF_FILE, buffer.sputc('a'));
    EXPECT_EQ("", output.takeCalls());
    EXPECT_EQ('a', buffer.sgetc());
    EXPECT_EQ("|abc", buffer.getArea());
}

#endif

} // namespace
