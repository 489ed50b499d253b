// SPDX-License-Identifier: Apache-2.0
//
// Binary streams and standard streams over them, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>

#include <common/BinBuffer.h>
#include <common/UUID.h>
#include <common/error/ErrorStorage.h>
#include <common/error/GlobalErrorHandler.h>
#include <common/streams/fstream.h>
#include <gtest/gtest.h>
#include <zelcommon-ostream.h>

#include "support/OpenStorage.h"

namespace {

using std::BinBuffer;
using std::CommonError;
using std::ErrorStorage;
using support::OpenStorage;
using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::torture;

constexpr const char* BYTES = "0123456789";

/// Gives the ten digits again and again.
class Source : public std::IBinInputStream
{
public:
    explicit Source(unsigned int size) : IBinInputStream(true, size) {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        got = std::min(size, 10U);
        std::memcpy(data, BYTES, got);
        return false;
    }
};

/// Holds the last bytes that it took, up to 64.
class Target : public std::IBinOutputStream
{
public:
    explicit Target(unsigned int size) : IBinOutputStream(true, size) {}

    std::string_view taken() const { return {m_taken, m_size}; }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        written = std::min<unsigned int>(size, sizeof m_taken - m_size);
        std::memcpy(m_taken + m_size, data, written);
        m_size += written;
        return false;
    }

private:
    char m_taken[64];
    unsigned int m_size = 0;
};

/// Whether the newest error is the want of memory. Acknowledges it.
bool takeWantOfMemory()
{
    const bool isIt =
        ErrorStorage::isError(true) && ErrorStorage::isA(CommonError) && ErrorStorage::id() == 0;
    ErrorStorage::ack();
    return isIt;
}

class StreamsAllocationTorture : public testing::Test
{
protected:
    OpenStorage m_errors;
};

TEST_F(StreamsAllocationTorture, Input)
{
    EXPECT_EQ("1 points", torture([] {
                  Source input(16);
                  const bool isTold = takeWantOfMemory();
                  char bytes[4] = {};
                  unsigned int got = 0;
                  const char status = input.read(bytes, sizeof bytes, got);
                  return rightOrRefused(input.isValid() && status == 1 && got == 4 && !isTold,
                                        !input.isValid() && status == char(-1) && isTold);
              }));
}

TEST_F(StreamsAllocationTorture, Output)
{
    EXPECT_EQ("1 points", torture([] {
                  Target output(16);
                  const bool isTold = takeWantOfMemory();
                  unsigned int written = 0;
                  const char status = output.write(BYTES, 10, written);
                  const bool hasFailed = output.flush(true);
                  return rightOrRefused(status == 1 && !hasFailed && output.taken() == BYTES,
                                        status == char(-1) && isTold && output.taken().empty());
              }));
}

TEST_F(StreamsAllocationTorture, StreamWithoutABuffer)
{
    EXPECT_EQ("0 points", torture([] {
                  Source input(0);
                  Target output(0);
                  char bytes[10];
                  unsigned int count = 0;
                  input.read(bytes, sizeof bytes, count);
                  output.write(bytes, count, count);
                  return rightIf(output.taken() == BYTES && !ErrorStorage::isError(true));
              }));
}

/// Writes to, and reads from, a standard stream over both. What has no buffer reads and writes
/// nothing, and was told of.
Outcome useBinBuffer(Source& input, Target& output)
{
    BinBuffer buffer(&input, 8, &output, 8);
    const bool isTold = takeWantOfMemory();
    std::iostream stream(&buffer);
    stream << "level " << 12 << ' ' << std::UUID();
    stream.flush();
    const bool isWritten =
        stream.good() && output.taken() == "level 12 00000000-0000-0000-0000-000000000000";
    stream.clear();
    char text[4] = {};
    stream.read(text, sizeof text);
    const bool isRead = stream.good() && std::memcmp(text, BYTES, sizeof text) == 0;
    return rightOrRefused(isWritten && isRead && !isTold, isTold);
}

TEST_F(StreamsAllocationTorture, StandardStream)
{
    EXPECT_EQ("4 points", torture([] {
                  Source input(8);
                  Target output(8);
                  const bool isTold = takeWantOfMemory();
                  const Outcome outcome = useBinBuffer(input, output);
                  if (!isTold) return outcome;
                  return outcome == support::RIGHT ? support::WRONG : support::REFUSED;
              }));
}

// The formatting of a number may take memory of the standard library, which tells of its want by
// the state of the stream.
TEST_F(StreamsAllocationTorture, FormattedText)
{
    const std::unicode::String text("a text that is longer than what fits on the spot");
    Target output(0);
    EXPECT_EQ("1 points", torture([&] {
                  Target target(0);
                  char place[64];
                  BinBuffer buffer(nullptr, 0, &target, sizeof place, nullptr, place);
                  std::ostream stream(&buffer);
                  stream << text;
                  stream.flush();
                  return rightOrRefused(target.taken() ==
                                            "a text that is longer than what fits on the spot",
                                        target.taken().empty());
              }));
}

/// A file that takes all.
class NullFile : public std::filebuf_base
{
public:
    NullFile() : filebuf_base(std::ios_base::out, 16, nullptr) {}
    void open() { createBuffer(); }

protected:
    int readBlock(char*, unsigned int, int& count) override { return count = 0; }
    int writeBlock(const char*, unsigned int size, unsigned int& written) override
    {
        written = size;
        return 0;
    }
    int seekFile(long long, std::ios_base::seekdir, std::streampos&) override { return -1; }
    int flushFile() override { return 0; }
    int closeFile() override { return 0; }
};

int s_told = 0;

// A handler that says that it has made room has the file ask again.
TEST_F(StreamsAllocationTorture, FileBuffer)
{
    const support::ChildResult child = support::runInChild([] {
        std::GlobalErrorHandler::atOutOfMem([](const char*, const char*) { return ++s_told > 0; });
        const int heldBefore = support::heldBlocks();
        {
            NullFile file;
            {
                const support::FailingMalloc failing(0, 3);
                file.open();
            }
            EXPECT_LE(1, s_told);
            EXPECT_EQ(5, file.sputn("abcde", 5));
        }
        EXPECT_EQ(heldBefore, support::heldBlocks());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST_F(StreamsAllocationTorture, FileBuffer_NobodyMakesRoom_EndsTheProcess)
{
    const support::ChildResult child = support::runInChild([] {
        NullFile file;
        const support::FailingMalloc failing(0, 1);
        file.open();
    });
    EXPECT_EQ(SIGABRT, child.signal);
    EXPECT_EQ("Out of memory encountered", child.err.substr(0, 25));
}

} // namespace
