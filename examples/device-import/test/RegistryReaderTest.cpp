// SPDX-License-Identifier: Apache-2.0
//
// Registries that are sound, written and read. Damaged ones are in RegistryDamageTest.cpp.

#include "../src/RegistryReader.h"

#include <string>

#include <gtest/gtest.h>
#include <zelposix/MemoryOutputStream.h>
#include <zelposix/PosixError.h>

#include "../src/FieldChecks.h"
#include "../src/RegistryWriter.h"
#include "RegistryBytes.h"
#include "support/OpenStorage.h"

namespace {

using deviceimport::Device;
using deviceimport::RegistryReader;
using registrytest::bytes;
using registrytest::soundBytes;
using registrytest::soundDevices;
using registrytest::takeChain;
using registrytest::verdict;
using std::unicode::String;

std::string written(const std::vector<Device>& devices)
{
    zel::MemoryOutputStream output;
    EXPECT_TRUE(deviceimport::writeRegistry(devices, output));
    return std::string(reinterpret_cast<const char*>(output.data()), output.size());
}

TEST(RegistryWriter, WritesEachField)
{
    EXPECT_EQ(soundBytes(), written(soundDevices()));
}

TEST(RegistryWriter, WritesNoDevices)
{
    EXPECT_EQ(bytes("DREG\x00\x01\x00\x00\x00\x00\x00\x00\x0C\x75\x87\x9B"), written({}));
}

TEST(RegistryWriter, WritesTheSameBytes_WhateverTheEncoding)
{
    std::vector<Device> devices = soundDevices();
    devices[0].name = String(std::unicode::UTF16BE, devices[0].name);
    devices[1].name = String(std::unicode::UTF16LE, devices[1].name);
    devices[1].location = String(std::unicode::UCS4, devices[1].location);
    EXPECT_EQ(soundBytes(), written(devices));
}

TEST(RegistryWriter, Fails_WhereTheStreamDoes)
{
    const support::OpenStorage errors;
    char room[100];
    zel::MemoryOutputStream small(room, 77);
    EXPECT_FALSE(deviceimport::writeRegistry(soundDevices(), small));
    EXPECT_TRUE(zel::isEndOfStream());
    EXPECT_EQ(77U, small.size());
    zel::MemoryOutputStream enough(room, 81);
    EXPECT_TRUE(deviceimport::writeRegistry(soundDevices(), enough));
}

TEST(RegistryReader, ReadsEachField)
{
    const support::OpenStorage errors;
    const std::string text = soundBytes();
    zel::MemoryInputStream input(text.data(), 81);
    RegistryReader reader(input, 81);
    std::vector<Device> devices;
    ASSERT_TRUE(reader.read(devices));
    EXPECT_EQ(soundDevices(), devices);
    EXPECT_EQ(81U, reader.place());
    EXPECT_FALSE(std::ErrorStorage::isError(true));
}

TEST(RegistryReader, ReadsOnes_OfUnknownSize)
{
    const support::OpenStorage errors;
    EXPECT_EQ("sound", verdict(soundBytes(), false));
    EXPECT_EQ("sound", verdict(written({}), false));
    EXPECT_EQ("sound", verdict(written({})));
}

TEST(RegistryReader, ReadsWhatWasWritten_AtTheLimits)
{
    const support::OpenStorage errors;
    std::vector<Device> devices;
    devices.push_back({std::UUID("00000000-0000-0000-0000-000000000001"), "n", "1/r", 0});
    devices.push_back({std::UUID("7fffffff-ffff-ffff-ffff-ffffffffffff"), String("n") * 40,
                       String("1F/") + String("r") * 29, 100});
    devices.push_back({std::UUID("ffffffff-ffff-ffff-ffff-ffffffffffff"), "\xF0\x9F\x9A\xAA",
                       "ABC/\xF4\x8F\xBF\xBF", 1});
    const std::string text = written(devices);
    zel::MemoryInputStream input(text.data(), static_cast<unsigned int>(text.size()));
    std::vector<Device> read;
    EXPECT_TRUE(RegistryReader(input, text.size()).read(read)) << takeChain();
    EXPECT_EQ(devices, read);
}

TEST(RegistryReader, KeepsTheDevicesBeforeTheDamage)
{
    const support::OpenStorage errors;
    const std::string text = soundBytes();
    zel::MemoryInputStream input(text.data(), 60);
    std::vector<Device> devices;
    EXPECT_FALSE(RegistryReader(input, 60).read(devices));
    EXPECT_EQ("record 2 at byte 45 <- record runs past the end", takeChain());
    ASSERT_EQ(1U, devices.size());
    EXPECT_EQ(soundDevices()[0], devices[0]);
}

} // namespace
