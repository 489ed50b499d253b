// SPDX-License-Identifier: Apache-2.0
//
// The level that each channel has in the end, and what changes it.

#include <tracing-impl/ChannelTree.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/TracingTree.h"

namespace {

using support::Member;
using support::TracingTree;
using tracing::Channel;
using tracing::Levels;
using tracing::impl::ChannelState;

/// The level of the channel "net" with the initial level, where the environment says `levels`.
short levelWith(const std::string& levels, short initial)
{
    TracingTree pump(levels);
    return Member(pump, "net", initial).m_filterLevel;
}

/// As `levelWith`, after "net" was set to `level`.
short levelAfter(short level, const std::string& levels, short initial)
{
    TracingTree pump(levels);
    const Member net(pump, "net", initial);
    EXPECT_TRUE(pump.tree.setLevel("net", level));
    return net.m_filterLevel;
}

/// A line for each channel.
std::string statesOf(const TracingTree& pump)
{
    std::string text;
    for (const ChannelState& state : pump.tree.states())
        text += std::to_string(state.id) + " " + std::to_string(state.ownLevel) + " " +
                std::to_string(state.effectiveLevel) + " " + state.path + "\n";
    return text;
}

TEST(ChannelTreeLevels, Root_IsWarningWithoutALevel)
{
    EXPECT_EQ(3, levelWith("", Levels::LevelNONE));
    EXPECT_EQ(3, levelWith("none", Levels::LevelNONE));
    EXPECT_EQ(3, levelWith("default", Levels::LevelNONE));
}

TEST(ChannelTreeLevels, Root_HasTheLevelOfTheEnvironment)
{
    EXPECT_EQ(0, levelWith("trace", Levels::LevelNONE));
    EXPECT_EQ(5, levelWith("fatal", Levels::LevelNONE));
    EXPECT_EQ(6, levelWith("off", Levels::LevelNONE));
    EXPECT_EQ(8, levelWith("disabled", Levels::LevelNONE));
}

TEST(ChannelTreeLevels, Initial_IsBeforeThatOfTheParent)
{
    EXPECT_EQ(1, levelWith("error", 1));
    EXPECT_EQ(5, levelWith("error", 5));
    EXPECT_EQ(6, levelWith("error", Levels::LevelOFF));
    EXPECT_EQ(8, levelWith("error", Levels::LevelDISABLED));
}

TEST(ChannelTreeLevels, Initial_ThatIsNoneInheritsAndSoDoesWhatIsNoLevel)
{
    EXPECT_EQ(4, levelWith("error", Levels::LevelNONE));
    EXPECT_EQ(4, levelWith("error", Levels::LevelDEFAULT));
    EXPECT_EQ(4, levelWith("error", -1));
    EXPECT_EQ(4, levelWith("error", 10));
    EXPECT_EQ(4, levelWith("error", -32768));
    EXPECT_EQ(4, levelWith("error", 32767));
}

TEST(ChannelTreeLevels, Environment_IsBeforeTheInitialLevel)
{
    EXPECT_EQ(2, levelWith("error,net=info", 1));
    EXPECT_EQ(6, levelWith("error,net=off", 1));
    EXPECT_EQ(8, levelWith("error,net=disabled", 1));
    EXPECT_EQ(1, levelWith("error,net=default", 1));
    EXPECT_EQ(4, levelWith("error,net=none", 1));
    EXPECT_EQ(4, levelWith("error,net=default", Levels::LevelNONE));
    EXPECT_EQ(1, levelWith("error,ne=info,net_=info", 1));
}

TEST(ChannelTreeLevels, RunTime_IsBeforeTheEnvironment)
{
    EXPECT_EQ(0, levelAfter(0, "error,net=info", 1));
    EXPECT_EQ(6, levelAfter(Levels::LevelOFF, "error,net=info", 1));
    EXPECT_EQ(8, levelAfter(Levels::LevelDISABLED, "error,net=info", 1));
    EXPECT_EQ(4, levelAfter(Levels::LevelNONE, "error,net=info", 1));
    EXPECT_EQ(1, levelAfter(Levels::LevelDEFAULT, "error,net=info", 1));
    EXPECT_EQ(4, levelAfter(Levels::LevelDEFAULT, "error,net=info", Levels::LevelNONE));
}

TEST(ChannelTreeLevels, Inheritance_GoesDownThroughWhatStandsIn)
{
    TracingTree pump("error,a=info,a_b_c=trace");
    const Member x(pump, "a_b_x");
    const Member y(pump, "a_b_c_y_z");
    const Member other(pump, "b_b_x");
    EXPECT_EQ(2, x.m_filterLevel);
    EXPECT_EQ(0, y.m_filterLevel);
    EXPECT_EQ(4, other.m_filterLevel);
}

TEST(ChannelTreeLevels, Inheritance_FollowsTheTreeNotTheSpelling)
{
    TracingTree pump("a=info");
    const Member ab(pump, "a_b", Levels::LevelNONE, Channel::FLAG_LOCAL_NAME);
    const Member c(pump, "a_b_c");
    EXPECT_EQ(3, ab.m_filterLevel);
    EXPECT_EQ(3, c.m_filterLevel);
}

TEST(ChannelTreeLevels, TakeIn_BringsItsLevelToWhatIsBelow)
{
    TracingTree pump;
    const Member c(pump, "a_b_c");
    auto b = std::make_unique<Member>(pump, "a_b", 1);
    EXPECT_EQ(1, c.m_filterLevel);
    const Member a(pump, "a", 5);
    EXPECT_EQ(1, c.m_filterLevel);
    b.reset();
    EXPECT_EQ(5, c.m_filterLevel);
}

TEST(ChannelTreeLevels, SetLevel_WhatIsBelowFollows)
{
    TracingTree pump;
    const Member a(pump, "a", 2);
    const Member b(pump, "a_b");
    const Member c(pump, "a_b_c");
    const Member own(pump, "a_b_d", 5);
    EXPECT_TRUE(pump.tree.setLevel(a, 0));
    EXPECT_EQ("1 0 0 a\n2 7 0 a_b\n3 7 0 a_b_c\n4 5 5 a_b_d\n", statesOf(pump));
    EXPECT_TRUE(pump.tree.setLevel("a_b", 4));
    EXPECT_EQ("1 0 0 a\n2 4 4 a_b\n3 7 4 a_b_c\n4 5 5 a_b_d\n", statesOf(pump));
    EXPECT_TRUE(pump.tree.setLevel(b, Levels::LevelNONE));
    EXPECT_EQ("1 0 0 a\n2 7 0 a_b\n3 7 0 a_b_c\n4 5 5 a_b_d\n", statesOf(pump));
}

TEST(ChannelTreeLevels, SetLevel_OfWhatStandsIn)
{
    TracingTree pump;
    const Member c(pump, "a_b_c");
    EXPECT_TRUE(pump.tree.setLevel("a", 1));
    EXPECT_EQ(1, c.m_filterLevel);
    const Member a(pump, "a", 5);
    EXPECT_EQ(1, a.m_filterLevel);
}

TEST(ChannelTreeLevels, SetLevel_OfAllChannelsOfThePath)
{
    TracingTree pump;
    const Member first(pump, "a", 1);
    const Member second(pump, "a", 2);
    EXPECT_TRUE(pump.tree.setLevel(second, 5));
    EXPECT_EQ(5, first.m_filterLevel);
    EXPECT_EQ(5, second.m_filterLevel);
    EXPECT_TRUE(pump.tree.setLevel("a", Levels::LevelDEFAULT));
    EXPECT_EQ(1, first.m_filterLevel);
    EXPECT_EQ(2, second.m_filterLevel);
}

TEST(ChannelTreeLevels, SetLevel_RefusesWhatIsNoLevel)
{
    TracingTree pump;
    const Member a(pump, "a", 1);
    EXPECT_FALSE(pump.tree.setLevel(a, -1));
    EXPECT_FALSE(pump.tree.setLevel(a, 10));
    EXPECT_FALSE(pump.tree.setLevel("a", -32768));
    EXPECT_FALSE(pump.tree.setLevel("a", 32767));
    EXPECT_EQ("1 1 1 a\n", statesOf(pump));
}

TEST(ChannelTreeLevels, SetLevel_RefusesWhatIsNotHere)
{
    TracingTree pump;
    const Member a(pump, "a_b", 1);
    const Channel stranger("a_b", 1, 0);
    EXPECT_FALSE(pump.tree.setLevel(stranger, 0));
    EXPECT_FALSE(pump.tree.setLevel("b", 0));
    EXPECT_FALSE(pump.tree.setLevel("", 0));
    EXPECT_FALSE(pump.tree.setLevel("a_", 0));
    EXPECT_FALSE(pump.tree.setLevel("a_b_c", 0));
    EXPECT_FALSE(pump.tree.setLevel("pump", 0));
    EXPECT_EQ("1 1 1 a_b\n", statesOf(pump));
}

TEST(ChannelTreeLevels, SetLevel_OutlivesTheChannels)
{
    TracingTree pump;
    auto a = std::make_unique<Member>(pump, "a", 2);
    EXPECT_TRUE(pump.tree.setLevel("a", 5));
    a.reset();
    EXPECT_FALSE(pump.tree.setLevel("a", 0));
    const Member b(pump, "a_b");
    EXPECT_EQ(5, b.m_filterLevel);
    a = std::make_unique<Member>(pump, "a", 2);
    EXPECT_EQ(5, a->m_filterLevel);
}

TEST(ChannelTreeLevels, SeveralChannelsOfAPath_EachHasItsOwnLevel)
{
    TracingTree pump;
    auto first = std::make_unique<Member>(pump, "a", 1);
    const Member second(pump, "a", 5);
    const Member third(pump, "a");
    const Member below(pump, "a_b");
    EXPECT_EQ("1 1 1 a\n2 5 5 a\n3 7 3 a\n4 7 1 a_b\n", statesOf(pump));
    first.reset();
    EXPECT_EQ("2 5 5 a\n3 7 3 a\n4 7 5 a_b\n", statesOf(pump));
}

TEST(ChannelTreeLevels, Disable_SwitchesOneChannelOffAndNothingBelow)
{
    TracingTree pump;
    const Member a(pump, "a", 1);
    const Member other(pump, "a", 2);
    const Member b(pump, "a_b");
    EXPECT_TRUE(pump.tree.setEnabled(a, false));
    EXPECT_EQ("1 1 8 a\n2 2 2 a\n3 7 1 a_b\n", statesOf(pump));
    EXPECT_TRUE(pump.tree.setEnabled(a, false));
    EXPECT_TRUE(pump.tree.setEnabled(a, true));
    EXPECT_EQ("1 1 1 a\n2 2 2 a\n3 7 1 a_b\n", statesOf(pump));
}

TEST(ChannelTreeLevels, Disable_LastsThroughChangesOfTheLevel)
{
    TracingTree pump;
    const Member a(pump, "a", 1);
    const Member b(pump, "a_b");
    EXPECT_TRUE(pump.tree.setEnabled(b, false));
    EXPECT_TRUE(pump.tree.setLevel(a, 0));
    EXPECT_TRUE(pump.tree.setLevel(b, 2));
    EXPECT_EQ("1 0 0 a\n2 2 8 a_b\n", statesOf(pump));
    EXPECT_TRUE(pump.tree.setEnabled(b, true));
    EXPECT_EQ(2, b.m_filterLevel);
}

TEST(ChannelTreeLevels, Disable_EndsWithTheRelease)
{
    TracingTree pump;
    Channel a("a", 1, 0);
    pump.tree.takeIn(a);
    EXPECT_TRUE(pump.tree.setEnabled(a, false));
    pump.tree.release(a);
    EXPECT_EQ(6, a.m_filterLevel);
    EXPECT_FALSE(pump.tree.setEnabled(a, true));
    pump.tree.takeIn(a);
    EXPECT_EQ(1, a.m_filterLevel);
    pump.tree.release(a);
}

TEST(ChannelTreeLevels, Enable_OfOneThatIsOnChangesNothing)
{
    TracingTree pump;
    const Member off(pump, "a", Levels::LevelOFF);
    const Channel stranger("a", 1, 0);
    EXPECT_TRUE(pump.tree.setEnabled(off, true));
    EXPECT_EQ(6, off.m_filterLevel);
    EXPECT_FALSE(pump.tree.setEnabled(stranger, true));
    EXPECT_FALSE(pump.tree.setEnabled(stranger, false));
}

TEST(ChannelTreeLevels, States_AreInTheOrderOfThePaths)
{
    TracingTree pump("b=trace");
    EXPECT_EQ("", statesOf(pump));
    const Member c(pump, "b_c");
    const Member z(pump, "z", 2);
    const Member a(pump, "a", Levels::LevelDEFAULT);
    const Member b(pump, "b", 4);
    EXPECT_EQ("3 7 3 a\n4 0 0 b\n1 7 0 b_c\n2 2 2 z\n", statesOf(pump));
}

TEST(ChannelTreeLevels, Observer_IsToldOfTheChannelAndOfWhatIsBelow)
{
    TracingTree pump;
    const Member b(pump, "a_b");
    EXPECT_EQ(" a_b=3", pump.observer.takeCalls());
    auto a = std::make_unique<Member>(pump, "a", 1);
    EXPECT_EQ(" a=1 a_b=1", pump.observer.takeCalls());
    EXPECT_TRUE(pump.tree.setLevel("a", 5));
    EXPECT_EQ(" a=5 a_b=5", pump.observer.takeCalls());
    EXPECT_TRUE(pump.tree.setLevel("a", Levels::LevelDEFAULT));
    EXPECT_EQ(" a=1 a_b=1", pump.observer.takeCalls());
    EXPECT_TRUE(pump.tree.setEnabled(*a, false));
    EXPECT_EQ(" a=8 a_b=1", pump.observer.takeCalls());
    a.reset();
    EXPECT_EQ(" a_b=3", pump.observer.takeCalls());
}

TEST(ChannelTreeLevels, Observer_IsToldNothingWhereNothingHappens)
{
    TracingTree pump;
    const Member a(pump, "a", 1);
    pump.observer.takeCalls();
    Channel stranger("a", 1, 0);
    pump.tree.release(stranger);
    EXPECT_FALSE(pump.tree.setLevel("a", 10));
    EXPECT_FALSE(pump.tree.setEnabled(stranger, false));
    EXPECT_EQ("", pump.observer.takeCalls());
}

} // namespace
