// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/Settings.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

/// Whether the process has more rights than its caller.
bool s_isPrivileged = false;

} // namespace

/// In place of the system's, which asks for the rights that the process began with.
extern "C" char* interposed_secure_getenv(const char* name) noexcept
{
    return s_isPrivileged ? nullptr : std::getenv(name);
}

namespace {

using support::runInChild;
using tracing::impl::Ignored;
using tracing::impl::levelOf;
using tracing::impl::LevelSettings;
using tracing::impl::readLevels;
using tracing::impl::readQueue;
using tracing::impl::readSettings;
using tracing::impl::readSinks;
using tracing::impl::Settings;
using tracing::impl::SinkSettings;

/// The ignored lines, each with an end.
std::string textOf(const Ignored& ignored)
{
    std::string text;
    for (const std::string& line : ignored)
        text += "\n" + line;
    return text;
}

std::string textOf(const LevelSettings& levels)
{
    std::string text = levels.root ? "root=" + std::to_string(*levels.root) : "no root";
    for (const auto& path : levels.paths)
        text += " " + path.first + "=" + std::to_string(path.second);
    return text;
}

std::string textOf(const std::vector<SinkSettings>& sinks)
{
    static const char* const KINDS[] = {"stderr", "file", "syslog", "dlt"};
    std::string text;
    for (const SinkSettings& sink : sinks) {
        text += "[" + sink.text + " " + KINDS[sink.kind];
        if (sink.kind == SinkSettings::FILE)
            text += " name=" + sink.fileName + " size=" + std::to_string(sink.maxSize) +
                    " files=" + std::to_string(sink.maxFiles);
        text += "]";
    }
    return text;
}

/// What is read from the text of one variable, and what is ignored.
std::string levels(std::string_view text)
{
    LevelSettings settings;
    Ignored ignored;
    readLevels(text, settings, ignored);
    return textOf(settings) + textOf(ignored);
}

std::string sinks(std::string_view text)
{
    std::vector<SinkSettings> settings;
    Ignored ignored;
    readSinks(text, settings, ignored);
    return textOf(settings) + textOf(ignored);
}

/// Without the text as it was written.
std::string file(const std::string& text)
{
    const std::string read = sinks("file:" + text);
    const std::string beginning = "[file:" + text + " file ";
    EXPECT_EQ(beginning, read.substr(0, beginning.size()));
    return read.substr(beginning.size());
}

std::string queue(std::string_view text)
{
    std::size_t length = 77;
    Ignored ignored;
    readQueue(text, length, ignored);
    return std::to_string(length) + textOf(ignored);
}

TEST(Settings, LevelOf_KnowsExactlyTheNames)
{
    EXPECT_EQ(0, levelOf("trace"));
    EXPECT_EQ(1, levelOf("debug"));
    EXPECT_EQ(2, levelOf("info"));
    EXPECT_EQ(3, levelOf("warning"));
    EXPECT_EQ(4, levelOf("error"));
    EXPECT_EQ(5, levelOf("fatal"));
    EXPECT_EQ(6, levelOf("off"));
    EXPECT_EQ(7, levelOf("none"));
    EXPECT_EQ(8, levelOf("disabled"));
    EXPECT_EQ(9, levelOf("default"));
}

TEST(Settings, LevelOf_NothingElse)
{
    EXPECT_EQ(std::nullopt, levelOf(""));
    EXPECT_EQ(std::nullopt, levelOf("warn"));
    EXPECT_EQ(std::nullopt, levelOf("Info"));
    EXPECT_EQ(std::nullopt, levelOf("info "));
    EXPECT_EQ(std::nullopt, levelOf("infos"));
    EXPECT_EQ(std::nullopt, levelOf("2"));
    EXPECT_EQ(std::nullopt, levelOf(std::string_view("info\0", 5)));
}

TEST(Settings, Levels_OfTheRootAndOfPaths)
{
    EXPECT_EQ("root=3 net=2 net_tcp=0", levels("warning,net=info,net_tcp=trace"));
    EXPECT_EQ("no root net=2", levels("net=info"));
    EXPECT_EQ("root=7", levels("none"));
    EXPECT_EQ("root=9 a=8 b=7 c=6", levels("default,a=disabled,b=none,c=off"));
}

TEST(Settings, Levels_LastOneCounts)
{
    EXPECT_EQ("root=1 a=5", levels("info,a=trace,debug,a=fatal"));
}

TEST(Settings, Levels_EmptyPiecesAreNothing)
{
    EXPECT_EQ("no root", levels(""));
    EXPECT_EQ("no root", levels(","));
    EXPECT_EQ("root=2 a=1", levels(",,info,,a=debug,"));
}

TEST(Settings, Levels_WhatIsNoLevelIsIgnored)
{
    EXPECT_EQ("no root\nZEL_TRACE: 'loud' is ignored: no such level", levels("loud"));
    EXPECT_EQ("no root b=2\nZEL_TRACE: 'a=loud' is ignored: no such level",
              levels("a=loud,b=info"));
    EXPECT_EQ("no root\nZEL_TRACE: 'a=' is ignored: no such level", levels("a="));
    EXPECT_EQ("no root\nZEL_TRACE: '=' is ignored: no such level", levels("="));
    EXPECT_EQ("no root\nZEL_TRACE: 'a=b=info' is ignored: no such level", levels("a=b=info"));
    EXPECT_EQ("root=3\nZEL_TRACE: ' a=info ' is ignored: no such level",
              levels("warning, a=info "));
}

TEST(Settings, Levels_ChannelWithoutANameIsIgnored)
{
    EXPECT_EQ("no root\nZEL_TRACE: '=info' is ignored: no channel", levels("=info"));
}

TEST(Settings, Levels_PathsMayHoldAnything)
{
    EXPECT_EQ("no root  a=2 _=0 a b:c=3", levels("a b:c=warning,_=trace, a=info"));
}

TEST(Settings, Levels_HostileTextIsShownInPrint)
{
    EXPECT_EQ("no root\nZEL_TRACE: '\\x1b[2J\\n=\\x01' is ignored: no such level\n"
              "ZEL_TRACE: '\xff' is ignored: no such level",
              levels("\x1b[2J\n=\x01,\xff"));
}

TEST(Settings, Sinks_OfAllKinds)
{
    EXPECT_EQ("[stderr stderr]", sinks("stderr"));
    EXPECT_EQ("[syslog syslog]", sinks("syslog"));
    EXPECT_EQ("[dlt dlt]", sinks("dlt"));
    EXPECT_EQ("[stderr stderr]"
              "[file:/var/log/x.log:1M:3 file name=/var/log/x.log size=1048576 files=3]"
              "[syslog syslog][dlt dlt]",
              sinks("stderr,file:/var/log/x.log:1M:3,syslog,dlt"));
}

TEST(Settings, Sinks_EmptyPiecesAreNothing)
{
    EXPECT_EQ("", sinks(""));
    EXPECT_EQ("", sinks(",,"));
    EXPECT_EQ("[dlt dlt][stderr stderr][dlt dlt]", sinks(",dlt,,stderr,dlt,"));
}

TEST(Settings, Sinks_WhatIsNoneIsIgnored)
{
    EXPECT_EQ("[dlt dlt]\nZEL_TRACE_SINKS: 'tape' is ignored: no such sink", sinks("tape,dlt"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'Stderr' is ignored: no such sink", sinks("Stderr"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'dlt:1' is ignored: no such sink", sinks("dlt:1"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: ' dlt' is ignored: no such sink", sinks(" dlt"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file' is ignored: no such sink", sinks("file"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: '\\x1b[2J\\r' is ignored: no such sink", sinks("\x1b[2J\r"));
}

TEST(Settings, Sinks_FileWithoutANameIsIgnored)
{
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:' is ignored: no such sink", sinks("file:"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file::1M' is ignored: no such sink", sinks("file::1M"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file::1M:3' is ignored: no such sink", sinks("file::1M:3"));
}

TEST(Settings, File_SizeAndCountMayBeLeftOut)
{
    EXPECT_EQ("name=x.log size=1048576 files=3]", file("x.log"));
    EXPECT_EQ("name=x.log size=65536 files=3]", file("x.log:64K"));
    EXPECT_EQ("name=x.log size=65536 files=7]", file("x.log:64K:7"));
    EXPECT_EQ("name=x.log size=4096 files=1]", file("x.log:4096:1"));
}

TEST(Settings, File_SizesUpToTheirLimits)
{
    EXPECT_EQ("name=x size=1024 files=3]", file("x:1024"));
    EXPECT_EQ("name=x size=1024 files=3]", file("x:1K"));
    EXPECT_EQ("name=x size=1073741824 files=3]", file("x:1073741824"));
    EXPECT_EQ("name=x size=1073741824 files=3]", file("x:1048576K"));
    EXPECT_EQ("name=x size=1073741824 files=3]", file("x:1024M"));
    EXPECT_EQ("name=x size=1073741824 files=3]", file("x:1G"));
}

TEST(Settings, File_WhatIsNoSizeIsPartOfTheName)
{
    EXPECT_EQ("name=x:1k size=1048576 files=3]", file("x:1k"));
    EXPECT_EQ("name=x:1KB size=1048576 files=3]", file("x:1KB"));
    EXPECT_EQ("name=x:K size=1048576 files=3]", file("x:K"));
    EXPECT_EQ("name=x: size=1048576 files=3]", file("x:"));
    EXPECT_EQ("name=x:-1K size=1048576 files=3]", file("x:-1K"));
    EXPECT_EQ("name=x:+1K size=1048576 files=3]", file("x:+1K"));
    EXPECT_EQ("name=x: 1K size=1048576 files=3]", file("x: 1K"));
    EXPECT_EQ("name=x:1M: size=1048576 files=3]", file("x:1M:"));
    EXPECT_EQ("name=x:1M:three size=1048576 files=3]", file("x:1M:three"));
    EXPECT_EQ("name=x:1K size=2048 files=3]", file("x:1K:2K:3"));
}

TEST(Settings, File_NumbersBeyondTheLimitsAreIgnored)
{
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:1023' is ignored: no such sink", sinks("file:x:1023"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:0K' is ignored: no such sink", sinks("file:x:0K"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:1073741825' is ignored: no such sink",
              sinks("file:x:1073741825"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:1048577K' is ignored: no such sink",
              sinks("file:x:1048577K"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:2G' is ignored: no such sink", sinks("file:x:2G"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:18446744073709551616' is ignored: no such sink",
              sinks("file:x:18446744073709551616"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:1K:0' is ignored: no such sink", sinks("file:x:1K:0"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:1K:101' is ignored: no such sink",
              sinks("file:x:1K:101"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:x:3' is ignored: no such sink", sinks("file:x:3"));
    EXPECT_EQ("\nZEL_TRACE_SINKS: 'file:a:2K:4K' is ignored: no such sink", sinks("file:a:2K:4K"));
}

TEST(Settings, File_NamesWithColons)
{
    EXPECT_EQ("name=a:b size=1048576 files=3]", file("a:b"));
    EXPECT_EQ("name=a:b size=2048 files=3]", file("a:b:2K"));
    EXPECT_EQ("name=a:b:c size=2048 files=5]", file("a:b:c:2K:5"));
    EXPECT_EQ("name=: size=2048 files=3]", file("::2K"));
}

TEST(Settings, File_CountsUpToTheirLimits)
{
    EXPECT_EQ("name=x size=1024 files=1]", file("x:1K:1"));
    EXPECT_EQ("name=x size=1024 files=100]", file("x:1K:100"));
}

TEST(Settings, Queue_NumbersUpToTheLimit)
{
    EXPECT_EQ("0", queue("0"));
    EXPECT_EQ("1", queue("1"));
    EXPECT_EQ("1024", queue("1024"));
    EXPECT_EQ("1048576", queue("1048576"));
    EXPECT_EQ("77", queue(""));
}

TEST(Settings, Queue_WhatIsNoneIsIgnored)
{
    EXPECT_EQ("77\nZEL_TRACE_QUEUE: '1048577' is ignored: "
              "no number of messages from 0 to 1048576",
              queue("1048577"));
    EXPECT_EQ("77\nZEL_TRACE_QUEUE: '18446744073709551616' is ignored: "
              "no number of messages from 0 to 1048576",
              queue("18446744073709551616"));
    EXPECT_EQ("77\nZEL_TRACE_QUEUE: '-1' is ignored: no number of messages from 0 to 1048576",
              queue("-1"));
    EXPECT_EQ("77\nZEL_TRACE_QUEUE: '1K' is ignored: no number of messages from 0 to 1048576",
              queue("1K"));
    EXPECT_EQ("77\nZEL_TRACE_QUEUE: ' 1\\n' is ignored: no number of messages from 0 to 1048576",
              queue(" 1\n"));
}

/// All settings of a process with these variables, and what it ignores; null for none.
std::string settingsWith(const char* trace, const char* sinkNames, const char* length,
                         const char* control)
{
    return runInChild([&] {
               const char* const values[] = {trace, sinkNames, length, control};
               const char* const names[] = {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE",
                                            "ZEL_TRACE_CONTROL"};
               for (int i = 0; i < 4; ++i)
                   values[i] == nullptr ? unsetenv(names[i]) : setenv(names[i], values[i], 1);
               Settings settings;
               const Ignored ignored = readSettings(settings);
               std::printf("%s\n%s\n%zu\n%s%s", textOf(settings.levels).c_str(),
                           textOf(settings.sinks).c_str(), settings.queueLength,
                           settings.controlPath.c_str(), textOf(ignored).c_str());
           })
        .out;
}

TEST(Settings, ReadSettings_AllVariables)
{
    EXPECT_EQ("root=3 net=2\n[dlt dlt][syslog syslog]\n0\n/run/pump.sock",
              settingsWith("warning,net=info", "dlt,syslog", "0", "/run/pump.sock"));
}

TEST(Settings, ReadSettings_WithoutVariables)
{
    EXPECT_EQ("no root\n[stderr stderr]\n1024\n", settingsWith(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ("no root\n[stderr stderr]\n1024\n", settingsWith("", "", "", ""));
}

TEST(Settings, ReadSettings_TellsWhatIsIgnored)
{
    EXPECT_EQ("no root\n[stderr stderr]\n1024\n"
              "\nZEL_TRACE: 'loud' is ignored: no such level"
              "\nZEL_TRACE_SINKS: 'tape' is ignored: no such sink"
              "\nZEL_TRACE_QUEUE: 'long' is ignored: no number of messages from 0 to 1048576",
              settingsWith("loud", "tape", "long", nullptr));
}

TEST(Settings, ReadSettings_MoreRightsThanTheCaller_ListensToNobody)
{
    s_isPrivileged = true;
    EXPECT_EQ("no root\n[stderr stderr]\n1024\n",
              settingsWith("trace", "file:/etc/passwd", "0", "/run/pump.sock"));
    s_isPrivileged = false;
    EXPECT_EQ("root=0\n[syslog syslog]\n0\n/run/pump.sock",
              settingsWith("trace", "syslog", "0", "/run/pump.sock"));
}

} // namespace
