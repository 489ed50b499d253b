// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/Levels.h>

#include <type_traits>

#include <common/tracing/Channel.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/RecordingClient.h"

namespace {

using tracing::Channel;
using tracing::Levels;
using tracing::MessageTypes;
using tracing::Modifiers;

static_assert(std::is_same_v<decltype(Levels::LevelTRACE), const short>);
static_assert(std::is_same_v<decltype(Modifiers::NONE), const short>);
static_assert(std::is_same_v<decltype(MessageTypes::APP), const short>);
static_assert(std::is_same_v<decltype(Levels::NAMES), const char* [10]>);
static_assert(std::is_same_v<decltype(Modifiers::NAMES), const char* [3]>);

TEST(Levels, Values)
{
    EXPECT_EQ(0, Levels::LevelTRACE);
    EXPECT_EQ(1, Levels::LevelDEBUG);
    EXPECT_EQ(2, Levels::LevelINFO);
    EXPECT_EQ(3, Levels::LevelWARN);
    EXPECT_EQ(4, Levels::LevelERROR);
    EXPECT_EQ(5, Levels::LevelFATAL);
    EXPECT_EQ(6, Levels::LevelOFF);
    EXPECT_EQ(7, Levels::LevelNONE);
    EXPECT_EQ(8, Levels::LevelDISABLED);
    EXPECT_EQ(9, Levels::LevelDEFAULT);
}

TEST(Levels, Names)
{
    EXPECT_STREQ("trace", Levels::NAMES[0]);
    EXPECT_STREQ("debug", Levels::NAMES[1]);
    EXPECT_STREQ("info", Levels::NAMES[2]);
    EXPECT_STREQ("warning", Levels::NAMES[3]);
    EXPECT_STREQ("error", Levels::NAMES[4]);
    EXPECT_STREQ("fatal", Levels::NAMES[5]);
    EXPECT_STREQ("off", Levels::NAMES[6]);
    EXPECT_STREQ("none", Levels::NAMES[7]);
    EXPECT_STREQ("disabled", Levels::NAMES[8]);
    EXPECT_STREQ("default", Levels::NAMES[9]);
}

TEST(Levels, FilterSettingsBlockEveryMessage)
{
    Channel channel("net", Levels::LevelTRACE, 0);
    channel.setFilterLevel(Levels::LevelFATAL);
    EXPECT_TRUE(channel.passes(Levels::LevelFATAL));
    channel.setFilterLevel(Levels::LevelOFF);
    EXPECT_FALSE(channel.passes(Levels::LevelFATAL));
    channel.setFilterLevel(Levels::LevelNONE);
    EXPECT_FALSE(channel.passes(Levels::LevelFATAL));
    channel.setFilterLevel(Levels::LevelDISABLED);
    EXPECT_FALSE(channel.passes(Levels::LevelFATAL));
    channel.setFilterLevel(Levels::LevelDEFAULT);
    EXPECT_FALSE(channel.passes(Levels::LevelFATAL));
}

TEST(Modifiers, Values)
{
    EXPECT_EQ(0, Modifiers::NONE);
    EXPECT_EQ(1, Modifiers::EXPAND_NOW);
    EXPECT_EQ(2, Modifiers::SAFE_TRANSPORT);
    EXPECT_EQ(4, Modifiers::OBFUSCATE);
}

TEST(Modifiers, Names)
{
    EXPECT_STREQ("none", Modifiers::NAMES[0]);
    EXPECT_STREQ("expand_now", Modifiers::NAMES[1]);
    EXPECT_STREQ("safe_transport", Modifiers::NAMES[2]);
}

TEST(Modifiers, ReachTheClientUninterpreted)
{
    support::RecordingClient client;
    Channel channel("net", Levels::LevelTRACE, 0);
    channel.m_client = &client;
    channel.logC(Levels::LevelINFO, Modifiers::OBFUSCATE, "secret %d");
    EXPECT_EQ("string channel=net level=2 modifiers=4 text=secret %d", client.calls());
    channel.logC(Levels::LevelINFO, 7, "secret %d");
    EXPECT_EQ("string channel=net level=2 modifiers=7 text=secret %d", client.calls());
    channel.logC(Levels::LevelINFO, "plain");
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=plain", client.calls());
}

TEST(MessageTypes, Values)
{
    EXPECT_EQ(0, MessageTypes::STRING_OLD);
    EXPECT_EQ(1, MessageTypes::STRING_UTF8);
    EXPECT_EQ(2, MessageTypes::PROBE);
    EXPECT_EQ(3, MessageTypes::COMM);
    EXPECT_EQ(128, MessageTypes::APP);
    EXPECT_EQ(129, MessageTypes::BT_HCI);
    EXPECT_EQ(130, MessageTypes::TPEG);
    EXPECT_EQ(131, MessageTypes::ANNOTATION);
    EXPECT_EQ(137, MessageTypes::GNSS_RAW_DATA);
    EXPECT_EQ(256, MessageTypes::USER);
}

// A program that has the library inside exports nothing.
#ifndef SUPPORT_COVERAGE

/// The object that modules find under the name.
const void* exported(const char* name)
{
    return dlsym(RTLD_DEFAULT, name);
}

TEST(Levels, HaveOneAddress)
{
    EXPECT_EQ(&Levels::LevelTRACE, exported("_ZN7tracing6Levels10LevelTRACEE"));
    EXPECT_EQ(&Levels::LevelDEBUG, exported("_ZN7tracing6Levels10LevelDEBUGE"));
    EXPECT_EQ(&Levels::LevelINFO, exported("_ZN7tracing6Levels9LevelINFOE"));
    EXPECT_EQ(&Levels::LevelWARN, exported("_ZN7tracing6Levels9LevelWARNE"));
    EXPECT_EQ(&Levels::LevelERROR, exported("_ZN7tracing6Levels10LevelERRORE"));
    EXPECT_EQ(&Levels::LevelFATAL, exported("_ZN7tracing6Levels10LevelFATALE"));
    EXPECT_EQ(&Levels::LevelOFF, exported("_ZN7tracing6Levels8LevelOFFE"));
    EXPECT_EQ(&Levels::LevelNONE, exported("_ZN7tracing6Levels9LevelNONEE"));
    EXPECT_EQ(&Levels::LevelDISABLED, exported("_ZN7tracing6Levels13LevelDISABLEDE"));
    EXPECT_EQ(&Levels::LevelDEFAULT, exported("_ZN7tracing6Levels12LevelDEFAULTE"));
}

TEST(Modifiers, HaveOneAddress)
{
    EXPECT_EQ(&Modifiers::NONE, exported("_ZN7tracing9Modifiers4NONEE"));
    EXPECT_EQ(&Modifiers::EXPAND_NOW, exported("_ZN7tracing9Modifiers10EXPAND_NOWE"));
    EXPECT_EQ(&Modifiers::SAFE_TRANSPORT, exported("_ZN7tracing9Modifiers14SAFE_TRANSPORTE"));
    EXPECT_EQ(&Modifiers::OBFUSCATE, exported("_ZN7tracing9Modifiers9OBFUSCATEE"));
}

TEST(MessageTypes, HaveOneAddress)
{
    EXPECT_EQ(&MessageTypes::STRING_OLD, exported("_ZN7tracing12MessageTypes10STRING_OLDE"));
    EXPECT_EQ(&MessageTypes::STRING_UTF8, exported("_ZN7tracing12MessageTypes11STRING_UTF8E"));
    EXPECT_EQ(&MessageTypes::PROBE, exported("_ZN7tracing12MessageTypes5PROBEE"));
    EXPECT_EQ(&MessageTypes::COMM, exported("_ZN7tracing12MessageTypes4COMME"));
    EXPECT_EQ(&MessageTypes::APP, exported("_ZN7tracing12MessageTypes3APPE"));
    EXPECT_EQ(&MessageTypes::BT_HCI, exported("_ZN7tracing12MessageTypes6BT_HCIE"));
    EXPECT_EQ(&MessageTypes::TPEG, exported("_ZN7tracing12MessageTypes4TPEGE"));
    EXPECT_EQ(&MessageTypes::ANNOTATION, exported("_ZN7tracing12MessageTypes10ANNOTATIONE"));
    EXPECT_EQ(&MessageTypes::GNSS_RAW_DATA, exported("_ZN7tracing12MessageTypes13GNSS_RAW_DATAE"));
    EXPECT_EQ(&MessageTypes::USER, exported("_ZN7tracing12MessageTypes4USERE"));
}

/// Entry `index` of the table that modules find under the name.
const char* exportedName(const char* table, int index)
{
    return static_cast<const char* const*>(exported(table))[index];
}

TEST(Levels, NamesAreWritableForAll)
{
    ASSERT_EQ(&Levels::NAMES, exported("_ZN7tracing6Levels5NAMESE"));
    const auto result = support::runInChild([] {
        Levels::NAMES[0] = "first";
        Levels::NAMES[9] = "last";
        EXPECT_STREQ("first", exportedName("_ZN7tracing6Levels5NAMESE", 0));
        EXPECT_STREQ("last", exportedName("_ZN7tracing6Levels5NAMESE", 9));
    });
    EXPECT_EQ(0, result.exitCode);
}

TEST(Modifiers, NamesAreWritableForAll)
{
    ASSERT_EQ(&Modifiers::NAMES, exported("_ZN7tracing9Modifiers5NAMESE"));
    const auto result = support::runInChild([] {
        Modifiers::NAMES[0] = "first";
        Modifiers::NAMES[2] = "last";
        EXPECT_STREQ("first", exportedName("_ZN7tracing9Modifiers5NAMESE", 0));
        EXPECT_STREQ("last", exportedName("_ZN7tracing9Modifiers5NAMESE", 2));
    });
    EXPECT_EQ(0, result.exitCode);
}

#endif

} // namespace
