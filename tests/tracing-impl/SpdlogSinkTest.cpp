// SPDX-License-Identifier: Apache-2.0

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <tracing-impl/Sinks.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"
#include "support/TemporaryFolder.h"

namespace {

/// What the system log is asked.
std::vector<std::string> s_systemLog;

[[gnu::format(printf, 2, 0)]] void noteMessage(int priority, const char* format,
                                               std::va_list values)
{
    char text[200];
    std::vsnprintf(text, sizeof text, format, values);
    s_systemLog.push_back(std::to_string(priority) + " " + text);
}

} // namespace

extern "C" {

/// In place of the system's own functions, whose other end belongs to the administrator.
void openlog(const char* name, int options, int facility)
{
    s_systemLog.push_back("open " + std::string(name) + " " + std::to_string(options) + " " +
                          std::to_string(facility));
}

void syslog(int priority, const char* format, ...)
{
    std::va_list values;
    va_start(values, format);
    noteMessage(priority, format, values);
    va_end(values);
}

/// What a library that was built with checks calls instead.
[[gnu::format(printf, 3, 4)]] void __syslog_chk(int priority, int, const char* format, ...)
{
    std::va_list values;
    va_start(values, format);
    noteMessage(priority, format, values);
    va_end(values);
}

void closelog()
{
    s_systemLog.push_back("close");
}
}

namespace {

using tracing::Levels;
using tracing::Modifiers;
using tracing::impl::Message;
using tracing::impl::SinkPtr;
using tracing::impl::SinkSettings;

class NoTarget final : public tracing::impl::RemoteTarget
{
public:
    std::vector<tracing::impl::ChannelState> channels() override { return {}; }
    bool setLevel(const std::string&, short) override { return false; }
    bool call(const std::string&, std::string) override { return false; }
};

class SpdlogSink : public testing::Test
{
protected:
    SpdlogSink()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    SinkPtr make(SinkSettings::Kind kind, const std::string& fileName = "",
                 std::size_t maxSize = 1024, std::size_t maxFiles = 1)
    {
        return tracing::impl::makeSpdlogSink({kind, "", fileName, maxSize, maxFiles},
                                             {m_name, m_zones, m_target});
    }

    const std::string m_name = "pump";
    tracing::impl::TimeZones m_zones;
    NoTarget m_target;
};

Message messageOf(short level, std::string_view text)
{
    Message message = {};
    message.path = "net_tcp";
    message.level = level;
    message.payload = text;
    message.time = {1795262400, 123456789};
    message.threadId = 7;
    return message;
}

std::string contentOf(const std::string& path)
{
    std::stringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// A line of 100 bytes that ends with `end`.
std::string hundredBytes(const std::string& end)
{
    const std::string head = "2026-11-21 12:00:00.123456 info net_tcp [7] ";
    return head + std::string(99 - head.size() - end.size(), '.') + end + "\n";
}

void writeHundredBytes(tracing::impl::Sink& sink, const std::string& end)
{
    const std::string line = hundredBytes(end);
    sink.write(messageOf(Levels::LevelINFO, line.substr(44, line.size() - 45)));
}

/// A terminal, of which the program has the one end.
struct Terminal
{
    Terminal() : master(posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (grantpt(master) != 0 || unlockpt(master) != 0) std::abort();
    }

    support::Descriptor master;
};

TEST_F(SpdlogSink, WritesLinesToAFile)
{
    const support::TemporaryFolder folder;
    const SinkPtr sink = make(SinkSettings::FILE, folder.pathOf("log"));
    sink->write(messageOf(Levels::LevelWARN, "peer {} has\ngone %s"));
    Message raw = messageOf(Levels::LevelFATAL, std::string_view("\0\xff", 2));
    raw.isRaw = true;
    raw.threadName = "receiver";
    sink->write(raw);
    sink->flush();
    EXPECT_EQ(contentOf(folder.pathOf("log")),
              "2026-11-21 12:00:00.123456 warning net_tcp [7] peer {} has\\ngone %s\n"
              "2026-11-21 12:00:00.123456 fatal net_tcp [7 receiver] type 0, 2 bytes: 00 ff\n");
}

TEST_F(SpdlogSink, HasWrittenALine_WithoutAFlush)
{
    const support::TemporaryFolder folder;
    const SinkPtr sink = make(SinkSettings::FILE, folder.pathOf("log"));
    sink->write(messageOf(Levels::LevelINFO, "here"));
    EXPECT_EQ(contentOf(folder.pathOf("log")),
              "2026-11-21 12:00:00.123456 info net_tcp [7] here\n");
}

TEST_F(SpdlogSink, ShowsObfuscatedMessagesByTheirSize)
{
    const support::TemporaryFolder folder;
    const SinkPtr sink = make(SinkSettings::FILE, folder.pathOf("log"));
    Message message = messageOf(Levels::LevelINFO, "secret");
    message.modifiers = Modifiers::OBFUSCATE;
    sink->write(message);
    sink->flush();
    EXPECT_EQ(contentOf(folder.pathOf("log")),
              "2026-11-21 12:00:00.123456 info net_tcp [7] 6 bytes, obfuscated\n");
}

TEST_F(SpdlogSink, GoesOnWithAFile_ThatIsThere)
{
    const support::TemporaryFolder folder;
    std::ofstream(folder.pathOf("log")) << "before\n";
    make(SinkSettings::FILE, folder.pathOf("log"))->write(messageOf(Levels::LevelERROR, "after"));
    EXPECT_EQ(contentOf(folder.pathOf("log")),
              "before\n2026-11-21 12:00:00.123456 error net_tcp [7] after\n");
}

TEST_F(SpdlogSink, BeginsAFileAnew_BeforeItIsTooLarge)
{
    const support::TemporaryFolder folder;
    const SinkPtr sink = make(SinkSettings::FILE, folder.pathOf("app.log"), 300);
    writeHundredBytes(*sink, "1");
    writeHundredBytes(*sink, "2");
    writeHundredBytes(*sink, "3");
    sink->flush();
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("app.1.log")));
    writeHundredBytes(*sink, "4");
    sink->flush();
    EXPECT_EQ(contentOf(folder.pathOf("app.log")), hundredBytes("4"));
    EXPECT_EQ(contentOf(folder.pathOf("app.1.log")),
              hundredBytes("1") + hundredBytes("2") + hundredBytes("3"));
}

TEST_F(SpdlogSink, KeepsAsManyOldFilesAsItIsTold)
{
    const support::TemporaryFolder folder;
    const SinkPtr sink = make(SinkSettings::FILE, folder.pathOf("app.log"), 100, 2);
    for (const char* const end : {"1", "2", "3", "4"})
        writeHundredBytes(*sink, end);
    sink->flush();
    EXPECT_EQ(contentOf(folder.pathOf("app.log")), hundredBytes("4"));
    EXPECT_EQ(contentOf(folder.pathOf("app.1.log")), hundredBytes("3"));
    EXPECT_EQ(contentOf(folder.pathOf("app.2.log")), hundredBytes("2"));
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("app.3.log")));
}

TEST_F(SpdlogSink, WritesWithoutColours_IntoAPipe)
{
    setenv("TERM", "xterm-256color", 1);
    const support::ChildResult result = support::runInChild([this] {
        const SinkPtr sink = make(SinkSettings::STDERR);
        sink->write(messageOf(Levels::LevelWARN, "late"));
        sink->write(messageOf(Levels::LevelFATAL, "gone"));
    });
    EXPECT_EQ(result.err, "2026-11-21 12:00:00.123456 warning net_tcp [7] late\n"
                          "2026-11-21 12:00:00.123456 fatal net_tcp [7] gone\n");
}

TEST_F(SpdlogSink, ColoursTheLevel_OnATerminal)
{
    setenv("TERM", "xterm-256color", 1);
    const Terminal terminal;
    const support::Descriptor slave(open(ptsname(terminal.master), O_RDWR | O_NOCTTY));
    support::runInChild([&] {
        dup2(slave, STDERR_FILENO);
        make(SinkSettings::STDERR)->write(messageOf(Levels::LevelWARN, "late"));
    });
    EXPECT_EQ(terminal.master.take(), "2026-11-21 12:00:00.123456 \x1b[33m\x1b[1mwarning\x1b[m "
                                      "net_tcp [7] late\r\n");
    support::runInChild([&] {
        dup2(slave, STDERR_FILENO);
        make(SinkSettings::STDERR)->write(messageOf(Levels::LevelFATAL, "gone"));
    });
    EXPECT_EQ(terminal.master.take(), "2026-11-21 12:00:00.123456 \x1b[1m\x1b[41mfatal\x1b[m "
                                      "net_tcp [7] gone\r\n");
}

TEST_F(SpdlogSink, WritesToTheSystemLog_WithoutTimeAndLevel)
{
    s_systemLog.clear();
    SinkPtr sink = make(SinkSettings::SYSLOG);
    sink->write(messageOf(Levels::LevelINFO, "100% of {}\n%s"));
    sink.reset();
    EXPECT_EQ(s_systemLog, (std::vector<std::string>{"open pump 1 8",
                                                     "6 net_tcp [7] 100% of {}\\n%s", "close"}));
}

TEST_F(SpdlogSink, GivesTheSystemLogItsOwnLevels)
{
    static_assert(LOG_DEBUG == 7 && LOG_INFO == 6 && LOG_WARNING == 4 && LOG_ERR == 3 &&
                  LOG_CRIT == 2);
    const SinkPtr sink = make(SinkSettings::SYSLOG);
    s_systemLog.clear();
    for (short level = Levels::LevelTRACE; level <= Levels::LevelFATAL; ++level)
        sink->write(messageOf(level, "x"));
    EXPECT_EQ(s_systemLog,
              (std::vector<std::string>{"7 net_tcp [7] x", "7 net_tcp [7] x", "6 net_tcp [7] x",
                                        "4 net_tcp [7] x", "3 net_tcp [7] x", "2 net_tcp [7] x"}));
}

TEST_F(SpdlogSink, TakesALevelBeyondAll_ForTheNextOne)
{
    const SinkPtr sink = make(SinkSettings::SYSLOG);
    s_systemLog.clear();
    sink->write(messageOf(9, "high"));
    sink->write(messageOf(-1, "low"));
    EXPECT_EQ(s_systemLog, (std::vector<std::string>{"2 net_tcp [7] high", "7 net_tcp [7] low"}));
}

TEST_F(SpdlogSink, SaysWhyAFileCannotBeOpened)
{
    std::string reason;
    try {
        make(SinkSettings::FILE, "/proc/no/file");
    } catch (const std::exception& error) {
        reason = error.what();
    }
    EXPECT_EQ(reason, "Failed opening file /proc/no/file for writing: No such file or directory");
}

} // namespace
