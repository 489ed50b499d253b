// SPDX-License-Identifier: Apache-2.0
//
// Where channels stand in the tree, and what they are given. Levels are in
// ChannelTreeLevelsTest.cpp.

#include <tracing-impl/ChannelTree.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/TracingTree.h"

namespace {

using support::fieldsOf;
using support::Member;
using support::pictureOf;
using support::rootOf;
using support::TracingTree;
using tracing::Channel;
using tracing::impl::ChannelTree;

static_assert(!std::is_copy_constructible_v<ChannelTree>);
static_assert(!std::is_copy_assignable_v<ChannelTree>);

constexpr unsigned int LOCAL = Channel::FLAG_LOCAL_NAME;

/// The picture of a tree with one channel.
std::string pictureWith(const std::string& path, unsigned int flags = 0)
{
    TracingTree pump;
    const Member member(pump, path, 7, flags);
    EXPECT_EQ(path, member.m_path);
    std::string filled;
    member.fillPathString(filled);
    EXPECT_EQ(path, filled);
    return pictureOf(member);
}

TEST(ChannelTree, TakeIn_GivesPlacePathIdLevelAndClient)
{
    TracingTree pump;
    const Member net(pump, "net", 2);
    EXPECT_EQ("name=net path=net id=1 level=2 parent=pump children=0", fieldsOf(net));
    EXPECT_EQ(&pump.client, net.m_client);
    EXPECT_EQ("name=pump path=pump id=0 level=6 children=1 without client", fieldsOf(rootOf(net)));
}

TEST(ChannelTree, TakeIn_Again_ChangesNothing)
{
    TracingTree pump;
    Member net(pump, "net", 2);
    pump.tree.takeIn(net);
    EXPECT_EQ("name=net path=net id=1 level=2 parent=pump children=0", fieldsOf(net));
    EXPECT_EQ(1u, pump.tree.releaseAll().size());
}

TEST(ChannelTree, TakeIn_LocalNameGetsAPath)
{
    TracingTree pump;
    const Member net(pump, "net", 2, LOCAL);
    EXPECT_EQ("name=net path=net id=1 level=2 parent=pump children=0", fieldsOf(net));
}

TEST(ChannelTree, TakeIn_MissingChannelsAreStoodInFor)
{
    TracingTree pump;
    const Member c(pump, "a_b_c", 2);
    EXPECT_EQ("pump(a(b(c#1)))", pictureOf(c));
    EXPECT_EQ("name=c path=a_b_c id=1 level=2 parent=a_b children=0", fieldsOf(c));
    EXPECT_EQ("name=b path=a_b id=-1 level=6 parent=a children=1 without client",
              fieldsOf(*c.m_parent));
    EXPECT_EQ("name=a path=a id=-1 level=6 parent=pump children=1 without client",
              fieldsOf(*c.m_parent->m_parent));
}

TEST(ChannelTree, TakeIn_LaterRegistrationTakesThePlaceOfWhatStoodIn)
{
    TracingTree pump;
    const Member c(pump, "a_b_c");
    const Member d(pump, "a_b_d");
    const Member b(pump, "a_b");
    EXPECT_EQ("pump(a(b#3(c#1 d#2)))", pictureOf(b));
    EXPECT_EQ(&b, c.m_parent);
    EXPECT_EQ(&b, d.m_parent);
    const Member a(pump, "a");
    EXPECT_EQ("pump(a#4(b#3(c#1 d#2)))", pictureOf(b));
    EXPECT_EQ(&a, b.m_parent);
}

TEST(ChannelTree, TakeIn_KeepsTheOrderOfChildren)
{
    TracingTree pump;
    const Member x(pump, "x_1");
    const Member a(pump, "a");
    const Member y(pump, "x");
    const Member z(pump, "x_0");
    EXPECT_EQ("pump(x#3(1#1 0#4) a#2)", pictureOf(a));
}

TEST(ChannelTree, TakeIn_LongestPathThatThereIsAlreadyIsTheParent)
{
    TracingTree pump;
    const Member ab(pump, "a_b", 7, LOCAL);
    const Member c(pump, "a_b_c");
    EXPECT_EQ("pump(a_b#1(c#2))", pictureOf(c));
    const Member a(pump, "a");
    const Member d(pump, "a_d");
    EXPECT_EQ("pump(a_b#1(c#2) a#3(d#4))", pictureOf(c));
    const Member f(pump, "a_b_e_f");
    EXPECT_EQ("pump(a_b#1(c#2 e(f#5)) a#3(d#4))", pictureOf(c));
    EXPECT_EQ("name=f path=a_b_e_f id=5 level=3 parent=a_b_e children=0", fieldsOf(f));
}

TEST(ChannelTree, TakeIn_PrefixThatEndsInsideANameIsNoParent)
{
    TracingTree pump;
    const Member ne(pump, "ne");
    const Member net(pump, "net_tcp");
    EXPECT_EQ("pump(ne#1 net(tcp#2))", pictureOf(ne));
}

TEST(ChannelTree, TakeIn_LocalNameIsNotSplit)
{
    EXPECT_EQ("pump(a_b_c#1)", pictureWith("a_b_c", LOCAL));
    TracingTree pump;
    const Member a(pump, "a");
    const Member ab(pump, "a_b", 7, LOCAL);
    EXPECT_EQ("pump(a#1 a_b#2)", pictureOf(a));
}

TEST(ChannelTree, TakeIn_LocalNameThatIsAPathAlreadyStandsThere)
{
    TracingTree pump;
    const Member path(pump, "a_b");
    const Member local(pump, "a_b", 7, LOCAL);
    EXPECT_EQ("pump(a(b#1 b#2))", pictureOf(path));
    EXPECT_EQ("name=b path=a_b id=2 level=3 parent=a children=0", fieldsOf(local));
}

TEST(ChannelTree, TakeIn_NoPartIsEmpty)
{
    EXPECT_EQ("pump(_a#1)", pictureWith("_a"));
    EXPECT_EQ("pump(a_#1)", pictureWith("a_"));
    EXPECT_EQ("pump(a(_b#1))", pictureWith("a__b"));
    EXPECT_EQ("pump(a(__b#1))", pictureWith("a___b"));
    EXPECT_EQ("pump(_a(b#1))", pictureWith("_a_b"));
    EXPECT_EQ("pump(a(b_#1))", pictureWith("a_b_"));
    EXPECT_EQ("pump(a(_b(c#1)))", pictureWith("a__b_c"));
}

TEST(ChannelTree, TakeIn_NamesOfSeparatorsAlone)
{
    EXPECT_EQ("pump(#1)", pictureWith(""));
    EXPECT_EQ("pump(_#1)", pictureWith("_"));
    EXPECT_EQ("pump(__#1)", pictureWith("__"));
    EXPECT_EQ("pump(___#1)", pictureWith("___"));
}

TEST(ChannelTree, TakeIn_AnyBytes)
{
    EXPECT_EQ(std::string("pump(a\0(\xff\n#1))", 14), pictureWith(std::string("a\0_\xff\n", 5)));
}

TEST(ChannelTree, TakeIn_SeveralChannelsOfOnePath)
{
    TracingTree pump;
    const Member first(pump, "a");
    const Member below(pump, "a_x");
    const Member second(pump, "a");
    const Member third(pump, "a");
    EXPECT_EQ("pump(a#1(x#2) a#3 a#4)", pictureOf(first));
    EXPECT_EQ(&first, below.m_parent);
    EXPECT_EQ("name=a path=a id=4 level=3 parent=pump children=0", fieldsOf(third));
}

TEST(ChannelTree, Release_NextOfThePathTakesThePlaceOver)
{
    TracingTree pump;
    auto first = std::make_unique<Member>(pump, "a");
    auto second = std::make_unique<Member>(pump, "a");
    auto third = std::make_unique<Member>(pump, "a");
    const Member x(pump, "a_x");
    second.reset();
    EXPECT_EQ("pump(a#1(x#4) a#3)", pictureOf(x));
    first.reset();
    EXPECT_EQ("pump(a#3(x#4))", pictureOf(x));
    third.reset();
    EXPECT_EQ("pump(a(x#4))", pictureOf(x));
}

TEST(ChannelTree, Release_FromTheTop)
{
    TracingTree pump;
    auto a = std::make_unique<Member>(pump, "a");
    auto b = std::make_unique<Member>(pump, "a_b");
    auto c = std::make_unique<Member>(pump, "a_b_c");
    const Channel& root = rootOf(*a);
    a.reset();
    EXPECT_EQ("pump(a(b#2(c#3)))", pictureOf(root));
    b.reset();
    EXPECT_EQ("pump(a(b(c#3)))", pictureOf(root));
    c.reset();
    EXPECT_EQ("pump", pictureOf(root));
}

TEST(ChannelTree, Release_FromTheBottom)
{
    TracingTree pump;
    auto a = std::make_unique<Member>(pump, "a");
    auto c = std::make_unique<Member>(pump, "a_b_c");
    auto d = std::make_unique<Member>(pump, "d");
    const Channel& root = rootOf(*a);
    c.reset();
    EXPECT_EQ("pump(a#1 d#3)", pictureOf(root));
    d.reset();
    EXPECT_EQ("pump(a#1)", pictureOf(root));
    a.reset();
    EXPECT_EQ("pump", pictureOf(root));
}

TEST(ChannelTree, Release_OutOfTheMiddle)
{
    TracingTree pump;
    const Member a(pump, "a");
    auto b = std::make_unique<Member>(pump, "a_b");
    auto c = std::make_unique<Member>(pump, "a_b_c");
    const Member d(pump, "a_d");
    b.reset();
    EXPECT_EQ("pump(a#1(b(c#3) d#4))", pictureOf(a));
    b = std::make_unique<Member>(pump, "a_b");
    EXPECT_EQ("pump(a#1(b#5(c#3) d#4))", pictureOf(a));
    c.reset();
    b.reset();
    EXPECT_EQ("pump(a#1(d#4))", pictureOf(a));
}

TEST(ChannelTree, Release_GivesBackThePath)
{
    TracingTree pump;
    Channel tcp("net_tcp", 2, 0);
    pump.tree.takeIn(tcp);
    const Member below(pump, "net_tcp_x");
    pump.tree.release(tcp);
    EXPECT_EQ("name= path=net_tcp id=-1 level=6 children=0 without client", fieldsOf(tcp));
    EXPECT_EQ(nullptr, tcp.m_parent);
    EXPECT_EQ(2, tcp.m_initialLevel);
}

TEST(ChannelTree, Release_GivesBackTheLocalName)
{
    TracingTree pump;
    const Member path(pump, "net_tcp");
    Channel tcp("net_tcp", 2, LOCAL);
    pump.tree.takeIn(tcp);
    pump.tree.release(tcp);
    EXPECT_EQ("name=net_tcp path= id=-1 level=6 children=0 without client", fieldsOf(tcp));
    pump.tree.takeIn(tcp);
    EXPECT_EQ("name=tcp path=net_tcp id=3 level=2 parent=net children=0", fieldsOf(tcp));
    pump.tree.release(tcp);
}

TEST(ChannelTree, Release_OfOneThatIsNotHereDoesNothing)
{
    TracingTree pump;
    const Member net(pump, "net");
    Channel stranger("net", 2, 0);
    pump.tree.release(stranger);
    Channel unknown("usb", 2, LOCAL);
    pump.tree.release(unknown);
    EXPECT_EQ("pump(net#1)", pictureOf(net));
    EXPECT_EQ("name= path=net id=-1 level=6 children=0 without client", fieldsOf(stranger));
    EXPECT_EQ("name=usb path= id=-1 level=6 children=0 without client", fieldsOf(unknown));
}

TEST(ChannelTree, Ids_AreNeverUsedAgain)
{
    TracingTree pump;
    Channel a("a", 7, 0);
    pump.tree.takeIn(a);
    pump.tree.release(a);
    pump.tree.takeIn(a);
    EXPECT_EQ(2, a.m_channelId);
    pump.tree.releaseAll();
    pump.tree.takeIn(a);
    EXPECT_EQ(3, a.m_channelId);
    pump.tree.release(a);
}

TEST(ChannelTree, Ids_LeadToTheChannel)
{
    TracingTree pump;
    Member a(pump, "a_b_c");
    Member b(pump, "d");
    Channel& root = *b.m_parent;
    EXPECT_EQ(&a, root.findByChannelId(1));
    EXPECT_EQ(&b, root.findByChannelId(2));
    EXPECT_EQ(nullptr, root.findByChannelId(3));
    EXPECT_EQ(&root, root.findByChannelId(0));
}

TEST(ChannelTree, ReleaseAll_ReturnsAllInTheOrderOfTheirIds)
{
    TracingTree pump;
    Channel z("z", 2, 0);
    Channel ab("a_b", 2, LOCAL);
    Channel a("a", 2, 0);
    Channel again("z", 2, 0);
    for (Channel* channel : {&z, &ab, &a, &again})
        pump.tree.takeIn(*channel);
    EXPECT_EQ((std::list<Channel*>{&z, &ab, &a, &again}), pump.tree.releaseAll());
    EXPECT_EQ("name= path=z id=-1 level=6 children=0 without client", fieldsOf(again));
    EXPECT_EQ("name=a_b path= id=-1 level=6 children=0 without client", fieldsOf(ab));
    EXPECT_EQ(0U, pump.tree.releaseAll().size());
}

TEST(ChannelTree, ReleaseAll_LeavesNothingBelowTheRoot)
{
    TracingTree pump;
    Channel c("a_b_c", 2, 0);
    pump.tree.takeIn(c);
    const Channel& root = rootOf(c);
    pump.tree.releaseAll();
    EXPECT_EQ("pump", pictureOf(root));
    EXPECT_EQ(nullptr, c.m_parent);
    EXPECT_FALSE(pump.tree.setLevel("a", 2));
}

TEST(ChannelTree, Destruction_ReleasesAll)
{
    Channel a("a", 2, 0);
    Channel b("a_b", 2, LOCAL);
    {
        TracingTree pump;
        pump.tree.takeIn(a);
        pump.tree.takeIn(b);
    }
    EXPECT_EQ("name= path=a id=-1 level=6 children=0 without client", fieldsOf(a));
    EXPECT_EQ("name=a_b path= id=-1 level=6 children=0 without client", fieldsOf(b));
}

} // namespace
