// SPDX-License-Identifier: Apache-2.0

#include "../src/AsideFile.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "RegistryBytes.h"
#include "TestDirectory.h"
#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using deviceimport::AsideFile;
using registrytest::takeChain;
using registrytest::TestDirectory;
using Names = std::vector<std::string>;

bool put(AsideFile& file, const std::string& text)
{
    unsigned int written = 0;
    return file.stream().write(text.data(), static_cast<unsigned int>(text.size()), written) == 1;
}

TEST(AsideFile, TakesItsName_WhenCommitted)
{
    const TestDirectory directory;
    directory.write("r.bin", "old");
    AsideFile file(directory.file("r.bin"));
    ASSERT_TRUE(file.create());
    ASSERT_TRUE(put(file, "new one"));
    EXPECT_EQ("old", directory.read("r.bin"));
    EXPECT_EQ(2U, directory.names().size());
    EXPECT_TRUE(file.commit());
    EXPECT_EQ("new one", directory.read("r.bin"));
    EXPECT_EQ(Names{"r.bin"}, directory.names());
}

TEST(AsideFile, IsRemoved_WhenNotCommitted)
{
    const TestDirectory directory;
    directory.write("r.bin", "old");
    {
        AsideFile file(directory.file("r.bin"));
        ASSERT_TRUE(file.create());
        ASSERT_TRUE(put(file, "new one"));
    }
    EXPECT_EQ("old", directory.read("r.bin"));
    EXPECT_EQ(Names{"r.bin"}, directory.names());
}

TEST(AsideFile, HasThePermissionsOfANewFile)
{
    const TestDirectory directory;
    const mode_t before = umask(0027);
    AsideFile file(directory.file("r.bin"));
    EXPECT_TRUE(file.create() && file.commit());
    EXPECT_EQ(0027U, umask(before));
    struct stat status = {};
    ASSERT_EQ(0, stat(directory.file("r.bin").c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777);
}

TEST(AsideFile, Fails_WithoutADirectory)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    EXPECT_FALSE(AsideFile(directory.file("missing/r.bin")).create());
    EXPECT_EQ("open failed: No such file or directory (errno 2)", takeChain());
    EXPECT_FALSE(AsideFile(directory.file(std::string(250, 'n'))).create());
    EXPECT_EQ("mkostemp failed: File name too long (errno 36)", takeChain());
    EXPECT_EQ(Names{}, directory.names());
}

TEST(AsideFile, Fails_InPlaceOfAnythingElse)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    std::filesystem::create_directory(directory.file("d"));
    std::filesystem::create_symlink("nothing", directory.file("link"));
    EXPECT_FALSE(AsideFile(directory.file("d")).create());
    EXPECT_EQ("what has that name is no regular file", takeChain());
    EXPECT_FALSE(AsideFile(directory.file("link")).create());
    EXPECT_EQ("what has that name is no regular file", takeChain());
    EXPECT_EQ((Names{"d", "link"}), directory.names());
}

TEST(AsideFile, IsRemoved_WhenItsNameCannotBeHad)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    {
        AsideFile file(directory.file("r.bin"));
        ASSERT_TRUE(file.create());
        std::filesystem::create_directory(directory.file("r.bin"));
        EXPECT_FALSE(file.commit());
    }
    EXPECT_EQ("rename failed: Is a directory (errno 21)", takeChain());
    EXPECT_EQ(Names{"r.bin"}, directory.names());
}

/// A storage that no error may leave unacknowledged.
class StrictStorage : public std::ErrorStorage
{
public:
    StrictStorage() : ErrorStorage(fail) {}

private:
    static void fail(void* /*data*/, const char* text, const std::ErrorObject* error,
                     unsigned int /*count*/)
    {
        ADD_FAILURE() << text << ": " << error->reason();
    }
};

/// Runs `body` where no file can grow, as on a full device.
void runWithoutRoom(const std::function<void()>& body)
{
    const support::ChildResult result = support::runInChild([&body] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit none = {0, 0};
        EXPECT_EQ(0, setrlimit(RLIMIT_FSIZE, &none));
        body();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(AsideFile, IsRemoved_WhenItCannotBeWritten)
{
    const TestDirectory directory;
    directory.write("r.bin", "old");
    runWithoutRoom([&directory] {
        const StrictStorage errors; // the stream's last attempt leaves no trace
        {
            AsideFile file(directory.file("r.bin"));
            EXPECT_TRUE(file.create() && put(file, "new one"));
            EXPECT_FALSE(file.commit());
        }
        EXPECT_EQ("a binary i/o stream operation failed <- write failed: File too large (errno 27)",
                  takeChain());
    });
    EXPECT_EQ("old", directory.read("r.bin"));
    EXPECT_EQ(Names{"r.bin"}, directory.names());
}

} // namespace
