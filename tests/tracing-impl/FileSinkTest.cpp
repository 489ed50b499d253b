// SPDX-License-Identifier: Apache-2.0
//
// The file's descriptor, and processes that are forked off while the file is written to.

#include <tracing-impl/Sinks.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>

#include <common/tracing/Levels.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <tracing-impl/LocalTime.h>
#include <unistd.h>

#include "support/ControlTool.h"
#include "support/ForkedChild.h"
#include "support/TemporaryFolder.h"

namespace {

using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::SinkPtr;
using tracing::impl::SinkSettings;

class FileSink : public testing::Test
{
protected:
    FileSink()
    {
        setenv("TZ", "UTC", 1);
        tracing::impl::forgetLocalOffset();
    }

    SinkPtr make(std::size_t maxSize)
    {
        return tracing::impl::makeSpdlogSink({SinkSettings::FILE, "", m_path, maxSize, 1},
                                             {m_name, m_zones, m_target});
    }

    const support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("app.log");
    const std::string m_oldPath = m_folder.pathOf("app.1.log");
    const std::string m_name = "pump";
    tracing::impl::TimeZones m_zones;
    support::RecordingTarget m_target;
};

void write(Sink& sink, const std::string& text)
{
    Message message = {};
    message.path = "net";
    message.level = tracing::Levels::LevelINFO;
    message.payload = text;
    message.time = {1795262400, 123456789};
    message.threadId = 7;
    sink.write(message);
}

std::string lineOf(const std::string& text)
{
    return "2026-11-21 12:00:00.123456 info net [7] " + text + "\n";
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Returns the descriptor of the process that the file at `path` is open with, or -1.
int descriptorOf(const std::string& path)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error; // the folder's own is gone
        if (std::filesystem::read_symlink(entry.path(), error) == path)
            return std::stoi(entry.path().filename());
    }
    return -1;
}

TEST_F(FileSink, Descriptor_IsClosedInOtherPrograms)
{
    const SinkPtr sink = make(100);
    const int fd = descriptorOf(m_path);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
}

TEST_F(FileSink, Descriptor_BegunAnew_IsClosedInOtherPrograms)
{
    const SinkPtr sink = make(100);
    write(*sink, std::string(60, 'a'));
    write(*sink, std::string(60, 'b'));
    ASSERT_EQ(lineOf(std::string(60, 'a')), contentOf(m_oldPath));
    const int fd = descriptorOf(m_path);
    ASSERT_NE(-1, fd);
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
}

TEST_F(FileSink, NoStandardStreams_FileIsBehindTheirPlaces)
{
    EXPECT_EQ(0, support::runForked([this] {
                  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                      close(fd);
                  const SinkPtr sink = make(100);
                  if (descriptorOf(m_path) <= STDERR_FILENO) return 1;
                  write(*sink, std::string(60, 'a'));
                  write(*sink, std::string(60, 'b'));
                  if (descriptorOf(m_path) <= STDERR_FILENO) return 2;
                  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                      if (fcntl(fd, F_GETFD) != -1) return 3;
                  return 0;
              }));
    EXPECT_EQ(lineOf(std::string(60, 'a')), contentOf(m_oldPath));
    EXPECT_EQ(lineOf(std::string(60, 'b')), contentOf(m_path));
}

TEST_F(FileSink, Write_IsThereAtOnce)
{
    const SinkPtr sink = make(1000);
    write(*sink, "a");
    EXPECT_EQ(lineOf("a"), contentOf(m_path));
    write(*sink, "b");
    EXPECT_EQ(lineOf("a") + lineOf("b"), contentOf(m_path));
}

/// Sets how many descriptors the process may have. Returns how many it could have before.
rlim_t limitDescriptors(rlim_t count)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = std::exchange(limit.rlim_cur, count);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) std::abort();
    return before;
}

bool isWritten(Sink& sink, const std::string& text)
{
    try {
        write(sink, text);
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

TEST_F(FileSink, BegunAnew_CannotBeOpened_RefusesUntilItCan)
{
    EXPECT_EQ(0, support::runForked([this] {
                  const SinkPtr sink = make(100);
                  write(*sink, std::string(60, 'a'));
                  const rlim_t before = limitDescriptors(0);
                  if (isWritten(*sink, std::string(60, 'b'))) return 1;
                  if (isWritten(*sink, "c")) return 2;
                  sink->flush();
                  limitDescriptors(before);
                  while (!isWritten(*sink, "d")) {} // it is left alone for a while
                  return 0;
              }));
    EXPECT_EQ(lineOf(std::string(60, 'a')), contentOf(m_oldPath));
    EXPECT_EQ(lineOf("d"), contentOf(m_path));
}

TEST_F(FileSink, Fork_ChildrenEndThroughExit_NoLineIsThereTwice)
{
    constexpr int FORKS = 100;
    const SinkPtr sink = make(std::size_t(1024) * 1024 * 1024);
    std::atomic<bool> isDone{false};
    std::string expected;
    std::thread logging([&] {
        for (int i = 0; !isDone; ++i) {
            write(*sink, std::to_string(i));
            expected += lineOf(std::to_string(i));
        }
    });
    for (int i = 0; i < FORKS; ++i)
        EXPECT_EQ(0, support::runForked([] {
                      std::exit(0);
                      return 1;
                  }));
    isDone = true;
    logging.join();
    const std::string content = contentOf(m_path);
    EXPECT_EQ(expected.size(), content.size());
    EXPECT_TRUE(expected == content);
}

} // namespace
