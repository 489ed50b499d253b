// SPDX-License-Identifier: Apache-2.0
//
// The streams over the operating system, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <zel/report.h>
#include <zelposix/FdInputStream.h>
#include <zelposix/FdOutputStream.h>
#include <zelposix/FileStream.h>
#include <zelposix/MemoryInputStream.h>
#include <zelposix/MemoryOutputStream.h>
#include <zelposix/PosixError.h>

#include "support/Descriptors.h"
#include "support/OpenStorage.h"
#include "support/TemporaryFolder.h"

namespace {

using std::CommonError;
using std::ErrorStorage;
using support::OpenStorage;
using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::torture;

constexpr unsigned int MUCH = 3000;

/// Whether there is an unacknowledged error. Acknowledges it.
bool takeError()
{
    const bool isError = ErrorStorage::isError(true);
    ErrorStorage::ack();
    return isError;
}

class PosixAllocationTorture : public testing::Test
{
protected:
    void emptyPipe() const
    {
        char bytes[16];
        while (read(m_pipe.reader, bytes, sizeof bytes) > 0) {}
    }

    OpenStorage m_errors;
    const support::Pipe m_pipe{O_NONBLOCK};
};

TEST_F(PosixAllocationTorture, Descriptors)
{
    EXPECT_EQ("2 points", torture([this] {
                  zel::FdOutputStream output(m_pipe.writer, 16);
                  zel::FdInputStream input(m_pipe.reader, 16, false);
                  const bool isTold = takeError();
                  unsigned int count = 0;
                  output.write("abcde", 5, count);
                  const bool hasFailed = !output.isValid() || output.flush(false);
                  char bytes[5] = {};
                  const char status = input.read(bytes, sizeof bytes, count);
                  ErrorStorage::ack();
                  emptyPipe(); // of what a stream without a buffer has not read
                  const bool isWhole =
                      !hasFailed && status == 1 && std::memcmp(bytes, "abcde", 5) == 0;
                  return rightOrRefused(isWhole && !isTold, status == char(-1) && isTold);
              }));
}

TEST_F(PosixAllocationTorture, GrowingMemory)
{
    static const std::string s_much(MUCH, 'a');
    EXPECT_EQ("2 points", torture([] {
                  zel::MemoryOutputStream output;
                  unsigned int written = 0;
                  const bool isFirst = output.write("abc", 3, written) == 1;
                  const bool isFirstTold = takeError();
                  const bool isSecond = output.write(s_much.data(), MUCH, written) == 1;
                  const bool isSecondTold = takeError();
                  const unsigned int size = (isFirst ? 3 : 0) + (isSecond ? MUCH : 0);
                  if (output.size() != size) return support::WRONG;
                  if (isFirst == isFirstTold || isSecond == isSecondTold) return support::WRONG;
                  return rightOrRefused(size == MUCH + 3, true);
              }));
}

TEST_F(PosixAllocationTorture, FailureIsRaised)
{
    EXPECT_EQ("0 points", torture([this] {
                  zel::FdInputStream input(m_pipe.reader, 0, false);
                  char byte = 0;
                  unsigned int got = 0;
                  const char status = input.read(&byte, 1, got);
                  const bool blocks = zel::wouldBlock();
                  ErrorStorage::ack();
                  return rightIf(blocks && status == char(-1));
              }));
}

bool tellOfRoom(const char*, const char*)
{
    return true;
}

TEST_F(PosixAllocationTorture, FileWithABufferFromOutside)
{
    const support::TemporaryFolder folder;
    const std::string name = folder.pathOf("file");
    static char s_place[64];
    EXPECT_EQ("0 points", torture([&] {
                  zel::FileBuf file(sizeof s_place, s_place);
                  if (file.open(name.c_str(), std::ios_base::out) != &file) return support::WRONG;
                  std::ostream stream(&file);
                  stream << "level " << 12 << '\n';
                  const bool isWritten = file.commit() && file.close() == &file;
                  return rightIf(isWritten && !takeError());
              }));
    std::string line;
    std::getline(std::ifstream(name) >> std::ws, line);
    EXPECT_EQ("level 12", line);
}

/// Writes with a stream of its own that lacks the memory for the attempt after `passing` ones.
/// Returns whether there is such an attempt.
bool writeFile(const std::string& name, int passing)
{
    const int heldBefore = support::heldBlocks();
    bool isWritten = false;
    bool hasFailed = false;
    {
        const support::FailingMalloc failing(passing, 1);
        zel::FileStream stream(name.c_str(), std::ios_base::out);
        stream << "level " << 12;
        isWritten = stream.commit();
        hasFailed = failing.calls() > passing;
    }
    EXPECT_TRUE(isWritten);
    EXPECT_EQ(heldBefore, support::heldBlocks());
    return hasFailed;
}

// The handler says that there is room again, and after the failing attempt there is. Where all
// fail, the file asks for ever.
TEST_F(PosixAllocationTorture, FileStream_HandlerMakesRoom_GoesOn)
{
    const support::TemporaryFolder folder;
    const std::string name = folder.pathOf("file");
    const support::ChildResult child = support::runInChild([&] {
        std::GlobalErrorHandler::atOutOfMem(tellOfRoom);
        int passing = 0;
        while (writeFile(name, passing) && passing < support::MOST_POINTS)
            ++passing;
        EXPECT_EQ(1, passing);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

} // namespace
