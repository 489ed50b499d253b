// SPDX-License-Identifier: Apache-2.0
//
// The sinks of spdlog, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <new>
#include <string>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tracing-impl/Sinks.h>

#include "support/ControlTool.h"
#include "support/TemporaryFolder.h"

namespace {

using support::rightIf;
using support::torture;
using tracing::impl::Message;
using tracing::impl::SinkPtr;
using tracing::impl::SinkSettings;

const std::string s_name = "pump_with_a_name_that_is_longer_than_any_on_the_spot";
const std::string s_path = "net_with_a_path_that_is_longer_than_any_on_the_spot";
const std::string s_long(2000, 'x');
const std::string s_short = "on fire";

Message messageOf(const std::string& text)
{
    Message message = {};
    message.path = s_path;
    message.level = tracing::Levels::LevelINFO;
    message.payload = text;
    return message;
}

/// Returns the number of bytes of a file, or 0 for one that is not there.
long long sizeOf(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

int pointsOf(const std::string& result)
{
    return std::stoi(result);
}

class SpdlogSinkAllocationTorture : public testing::Test
{
protected:
    SinkPtr make(SinkSettings::Kind kind, std::size_t maxSize)
    {
        return tracing::impl::makeSpdlogSink({kind, "", m_file, maxSize, 2},
                                             {s_name, m_zones, m_target});
    }

    const support::TemporaryFolder m_folder;
    const std::string m_file = m_folder.pathOf("a_log_with_a_name_that_is_longer_than_any.log");
    tracing::impl::TimeZones m_zones;
    support::RecordingTarget m_target;
};

TEST_F(SpdlogSinkAllocationTorture, EachKind_FromBeginningToEnd)
{
    for (const auto kind : {SinkSettings::FILE, SinkSettings::SYSLOG, SinkSettings::STDERR}) {
        const std::string result =
            torture<std::bad_alloc>([&] { return rightIf(make(kind, 1000000) != nullptr); });
        EXPECT_LE(1, pointsOf(result));
        EXPECT_EQ("", result.substr(result.find("points") + 6));
    }
}

TEST_F(SpdlogSinkAllocationTorture, File_Messages)
{
    const std::string result = torture<std::bad_alloc>([&] {
        const SinkPtr sink = make(SinkSettings::FILE, 100000000);
        const long long before = sizeOf(m_file);
        sink->write(messageOf(s_long));
        sink->flush();
        return rightIf(sizeOf(m_file) > before + 2000);
    });
    EXPECT_EQ("", result.substr(result.find("points") + 6));
    EXPECT_LE(3, pointsOf(result));
}

// Whatever fails while one file takes the place of another, the next message has one.
TEST_F(SpdlogSinkAllocationTorture, File_ThatIsFull)
{
    const std::string result = torture<std::bad_alloc>([&] {
        const SinkPtr sink = make(SinkSettings::FILE, 1);
        try {
            sink->write(messageOf(s_long));
        } catch (const std::bad_alloc&) {
            sink->write(messageOf(s_short));
            sink->flush();
            return support::REFUSED;
        }
        return rightIf(sizeOf(m_file) > 2000);
    });
    EXPECT_EQ("", result.substr(result.find("points") + 6));
    EXPECT_LE(6, pointsOf(result));
}

TEST_F(SpdlogSinkAllocationTorture, SystemLog_Messages)
{
    const SinkPtr sink = make(SinkSettings::SYSLOG, 0);
    const std::string result = torture<std::bad_alloc>([&] {
        sink->write(messageOf(s_short));
        return support::RIGHT;
    });
    EXPECT_EQ("", result.substr(result.find("points") + 6));
    EXPECT_LE(1, pointsOf(result));
}

} // namespace
