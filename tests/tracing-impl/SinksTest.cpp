// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/Sinks.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace {

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

class Sinks : public testing::Test
{
protected:
    SinkPtr make(SinkSettings::Kind kind, const std::string& fileName = "")
    {
        return tracing::impl::makeSink({kind, "", fileName, 1024, 1}, {m_name, m_zones, m_target},
                                       m_reason);
    }

    /// Why there is no sink for DLT, in a process that has loaded no module before.
    std::string reasonWithoutDlt()
    {
        return support::runInChild([this] {
                   if (make(SinkSettings::DLT) == nullptr) std::cout << m_reason;
                   std::cout.flush();
               })
            .out;
    }

    const std::string m_name = "pump";
    tracing::impl::TimeZones m_zones;
    NoTarget m_target;
    std::string m_reason = "none";
};

/// The file that stands in for the module of DLT, beside this program.
class ModuleFile
{
public:
    ModuleFile() { std::filesystem::remove(m_path); }
    ~ModuleFile() { std::filesystem::remove(m_path); }

    void link(const char* module) { std::filesystem::create_symlink(module, m_path); }
    const std::string& path() const { return m_path; }

private:
    const std::string m_path =
        std::filesystem::path(program_invocation_name).replace_filename("libtracing-impl-dlt.so");
};

TEST_F(Sinks, WriteLinesToStandardError)
{
    const support::ChildResult result = support::runInChild([this] {
        Message message = {};
        message.path = "net";
        message.level = tracing::Levels::LevelERROR;
        message.payload = "lost";
        message.threadId = 7;
        make(SinkSettings::STDERR)->write(message);
    });
    EXPECT_EQ(result.err.substr(result.err.find(" error")), " error net [7] lost\n");
    EXPECT_EQ(m_reason, "none");
}

#ifdef ZEL_TRACE_WITH_SPDLOG
TEST_F(Sinks, SayWhyAFileCannotBeOpened)
{
    EXPECT_EQ(make(SinkSettings::FILE, "/proc/no/file"), nullptr);
    EXPECT_EQ(m_reason, "Failed opening file /proc/no/file for writing: No such file or directory");
}

TEST_F(Sinks, SayWhyAFolderCannotBeOpened)
{
    const support::TemporaryFolder folder;
    EXPECT_EQ(make(SinkSettings::FILE, folder.path()), nullptr);
    EXPECT_EQ(m_reason, "Failed opening file " + folder.path() + " for writing: Is a directory");
}
#else
TEST_F(Sinks, SayThatAKindIsNotBuiltIn)
{
    const support::TemporaryFolder folder;
    EXPECT_EQ(make(SinkSettings::FILE, folder.pathOf("log")), nullptr);
    EXPECT_EQ(m_reason, "it is not built in");
    EXPECT_FALSE(std::filesystem::exists(folder.pathOf("log")));
    m_reason.clear();
    EXPECT_EQ(make(SinkSettings::SYSLOG), nullptr);
    EXPECT_EQ(m_reason, "it is not built in");
}
#endif

TEST_F(Sinks, SayThatTheModuleForDltIsMissing)
{
    const ModuleFile module;
    EXPECT_EQ(reasonWithoutDlt(),
              "libtracing-impl-dlt.so: cannot open shared object file: No such file or "
              "directory");
}

TEST_F(Sinks, SayThatTheModuleForDltIsNone)
{
    const ModuleFile module;
    std::ofstream(module.path()) << std::string(100, '?');
    EXPECT_EQ(reasonWithoutDlt(), module.path() + ": invalid ELF header");
}

TEST_F(Sinks, SayThatTheModuleForDltIsAnother)
{
    ModuleFile module;
    module.link(OTHER_MODULE);
    EXPECT_EQ(reasonWithoutDlt(), module.path() + " is another module");
}

TEST_F(Sinks, SayThatDltDoesNotStart)
{
    ModuleFile module;
    module.link(FAILING_MODULE);
    EXPECT_EQ(reasonWithoutDlt(), "DLT does not start, or is in use in this process");
}

} // namespace
