// SPDX-License-Identifier: Apache-2.0
//
// Lists merged into a registry, and the registry as a file.

#include "../src/Registry.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../src/RegistryFile.h"
#include "RegistryBytes.h"
#include "TestDirectory.h"
#include "support/OpenStorage.h"

namespace {

using deviceimport::Device;
using deviceimport::DeviceList;
using deviceimport::Registry;
using deviceimport::SavedRegistry;
using registrytest::soundBytes;
using registrytest::soundDevices;
using registrytest::takeChain;
using registrytest::TestDirectory;

constexpr const char* FIRST = "123e4567-e89b-12d3-a456-426614174000;Fan coil;1F/101;50\n";
constexpr const char* SECOND = "123e4567-e89b-12d3-a456-426614174001;B\xC3\xBCro;"
                               "GF/\xE2\x82\xAC\xC3\xA4;0\n";
constexpr const char* FIRST_AGAIN = "123e4567-e89b-12d3-a456-426614174000;Other;1F/101;50\n";

DeviceList load(const std::string& text)
{
    const TestDirectory directory;
    deviceimport::LineCounter counter{0};
    deviceimport::ListReport report(directory.write("l.csv", text),
                                    deviceimport::ListReport::Errors::COLLECT, counter);
    DeviceList list;
    list.load(report);
    EXPECT_TRUE(report.isClean()) << report.text();
    return list;
}

TEST(Registry, HasTheDevices_InOrder)
{
    Registry registry;
    EXPECT_EQ("", registry.add("b.csv", load(SECOND)));
    EXPECT_EQ("", registry.add("none.csv", load("")));
    EXPECT_EQ("", registry.add("a.csv", load(FIRST)));
    EXPECT_EQ(soundDevices(), registry.devices());
}

TEST(Registry, KeepsTheFirst_OfSeveral)
{
    const support::OpenStorage errors;
    Registry registry;
    registry.add("a.csv", load(FIRST));
    const std::string report = registry.add("b.csv", load(std::string(SECOND) + FIRST_AGAIN));
    EXPECT_EQ("device list b.csv rejected <- line 2 <- "
              "uuid '123e4567-e89b-12d3-a456-426614174000' is used in list a.csv already",
              takeChain());
    EXPECT_NE(std::string::npos, report.find("\n\tdevice list b.csv rejected\n")) << report;
    EXPECT_NE(std::string::npos, report.find("\nb.csv: 1 left out of the registry\n")) << report;
    EXPECT_EQ(soundDevices(), registry.devices());
}

TEST(Registry, IsReadFromAFile_AsItWasSaved)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    const std::string name = directory.file("r.bin");
    ASSERT_TRUE(deviceimport::saveRegistry(name, soundDevices()));
    EXPECT_EQ(soundBytes(), directory.read("r.bin"));
    SavedRegistry saved;
    EXPECT_TRUE(deviceimport::verifyRegistry(name, soundDevices(), saved));
    EXPECT_EQ(soundDevices(), saved.devices);
    EXPECT_EQ(81U, saved.size);
}

TEST(Registry, IsNotVerified_WhenOthersWereMeant)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    const std::string name = directory.write("r.bin", soundBytes());
    std::vector<Device> meant = soundDevices();
    meant[1].level = 1;
    SavedRegistry saved;
    EXPECT_FALSE(deviceimport::verifyRegistry(name, meant, saved));
    EXPECT_EQ("registry " + name + " rejected <- the devices are not those that were written",
              takeChain());
}

TEST(Registry, IsNotSaved_WithoutADirectory)
{
    const support::OpenStorage errors;
    const TestDirectory directory;
    const std::string name = directory.file("missing/r.bin");
    EXPECT_FALSE(deviceimport::saveRegistry(name, soundDevices()));
    EXPECT_EQ("registry " + name +
                  " could not be written <- "
                  "open failed: No such file or directory (errno 2)",
              takeChain());
    SavedRegistry saved;
    EXPECT_FALSE(deviceimport::loadRegistry(name, saved));
    EXPECT_EQ("registry " + name +
                  " could not be read <- "
                  "open failed: No such file or directory (errno 2)",
              takeChain());
}

} // namespace
