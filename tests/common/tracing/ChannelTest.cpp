// SPDX-License-Identifier: Apache-2.0
//
// The fields of a channel, and the tree that a client builds of channels. Levels and logging are in
// ChannelLoggingTest.cpp and its neighbours.

#include <common/tracing/Channel.h>

#include <list>
#include <optional>
#include <string>
#include <type_traits>

#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <gtest/gtest.h>

namespace {

using tracing::Channel;
using tracing::ChannelList;
using tracing::IClient;

static_assert(!std::is_polymorphic_v<Channel>);
static_assert(!std::is_copy_constructible_v<Channel>);
static_assert(!std::is_copy_assignable_v<Channel>);
static_assert(std::is_same_v<decltype(Channel::m_client), IClient*>);
static_assert(std::is_same_v<decltype(Channel::m_parent), Channel*>);
static_assert(std::is_same_v<decltype(Channel::m_children), std::list<Channel*>>);
static_assert(std::is_same_v<decltype(Channel::m_name), std::string>);
static_assert(std::is_same_v<decltype(Channel::m_path), std::string>);
static_assert(std::is_same_v<decltype(Channel::m_filterLevel), short>);
static_assert(std::is_same_v<decltype(Channel::m_initialLevel), short>);
static_assert(std::is_same_v<decltype(Channel::m_channelId), int>);
static_assert(std::is_same_v<decltype(Channel::m_flags), unsigned int>);
static_assert(Channel::FLAG_LOCAL_NAME == 1);
static_assert(Channel::FLAG_REGISTER == 2);

/// A channel with a local name, below `parent` unless that is null.
class Node : public Channel
{
public:
    explicit Node(const char* name, Channel* parent = nullptr) : Channel(name, 3, FLAG_LOCAL_NAME)
    {
        m_parent = parent;
        if (parent != nullptr) parent->m_children.push_back(this);
    }
};

std::string pathOf(const Channel& channel)
{
    std::string path;
    channel.fillPathString(path);
    return path;
}

/// The fields that are the same in each new channel.
void expectNew(const Channel& channel)
{
    EXPECT_EQ(nullptr, channel.m_client);
    EXPECT_EQ(nullptr, channel.m_parent);
    EXPECT_EQ(0u, channel.m_children.size());
    EXPECT_EQ(6, channel.m_filterLevel);
    EXPECT_EQ(3, channel.m_initialLevel);
    EXPECT_EQ(-1, channel.m_channelId);
}

TEST(Channel, Construction_NoFlags)
{
    const Channel channel("net_tcp", 3, 0);
    expectNew(channel);
    EXPECT_EQ("", channel.m_name);
    EXPECT_EQ("net_tcp", channel.m_path);
    EXPECT_EQ(0u, channel.m_flags);
}

TEST(Channel, Construction_LocalName)
{
    const Channel channel("tcp", 3, 1);
    expectNew(channel);
    EXPECT_EQ("tcp", channel.m_name);
    EXPECT_EQ("", channel.m_path);
    EXPECT_EQ(1u, channel.m_flags);
}

TEST(Channel, Construction_Registered)
{
    Channel channel("net_tcp", 3, 2);
    expectNew(channel);
    EXPECT_EQ("", channel.m_name);
    EXPECT_EQ("net_tcp", channel.m_path);
    EXPECT_EQ(2u, channel.m_flags);
    EXPECT_EQ(std::list<Channel*>{&channel}, ChannelList::getInstance()->getChannels());
}

TEST(Channel, Construction_LocalNameAndRegistered)
{
    Channel channel("tcp", 3, 3);
    expectNew(channel);
    EXPECT_EQ("tcp", channel.m_name);
    EXPECT_EQ("", channel.m_path);
    EXPECT_EQ(3u, channel.m_flags);
    EXPECT_EQ(std::list<Channel*>{&channel}, ChannelList::getInstance()->getChannels());
}

TEST(Channel, Construction_OtherBitsOfTheFlagsAreKeptAndMeanNothing)
{
    const Channel channel("net_tcp", 3, 0x80000004u);
    expectNew(channel);
    EXPECT_EQ("net_tcp", channel.m_path);
    EXPECT_EQ(0x80000004u, channel.m_flags);
    EXPECT_EQ(0u, ChannelList::getInstance()->getChannels().size());
}

TEST(Channel, Construction_AnyInitialLevelAndName)
{
    const std::string name("a\0b", 3);
    const Channel channel(name, -32768, 0);
    EXPECT_EQ(-32768, channel.m_initialLevel);
    EXPECT_EQ(6, channel.m_filterLevel);
    EXPECT_EQ(name, channel.m_path);
}

TEST(Channel, FieldsAreInTheOrderThatClientsKnow)
{
    const Channel channel("net", 3, 0);
    const void* const start = &channel;
    EXPECT_EQ(start, &channel.m_client);
    EXPECT_LT(static_cast<const void*>(&channel.m_client), &channel.m_parent);
    EXPECT_LT(static_cast<const void*>(&channel.m_parent), &channel.m_children);
    EXPECT_LT(static_cast<const void*>(&channel.m_children), &channel.m_name);
    EXPECT_LT(static_cast<const void*>(&channel.m_name), &channel.m_path);
    EXPECT_LT(static_cast<const void*>(&channel.m_path), &channel.m_filterLevel);
    EXPECT_LT(static_cast<const void*>(&channel.m_filterLevel), &channel.m_initialLevel);
    EXPECT_LT(static_cast<const void*>(&channel.m_initialLevel), &channel.m_channelId);
    EXPECT_LT(static_cast<const void*>(&channel.m_channelId), &channel.m_flags);
}

TEST(Channel, Destruction_LeavesParentAndChildrenAsTheyAre)
{
    Node root("root");
    std::optional<Node> net(std::in_place, "net", &root);
    Channel* const gone = &*net;
    const Node tcp("tcp", gone);
    net.reset();
    EXPECT_EQ(std::list<Channel*>{gone}, root.m_children);
    EXPECT_EQ(gone, tcp.m_parent);
    EXPECT_EQ("tcp", tcp.m_name);
}

TEST(Channel, Destruction_FlagsOfTheFieldDecide)
{
    {
        Channel channel("net", 3, 0);
        ChannelList::getInstance()->registerChannel(&channel);
        channel.m_flags = 2;
        EXPECT_EQ(1u, ChannelList::getInstance()->getChannels().size());
    }
    EXPECT_EQ(0u, ChannelList::getInstance()->getChannels().size());
}

/// What a client can read of a channel while it is told of it.
class ReadingListener : public tracing::IChannelListListener
{
public:
    ReadingListener() { ChannelList::getInstance()->setListener(this); }
    ~ReadingListener() override { ChannelList::getInstance()->setListener(nullptr); }

    void channelRegistered(Channel* channel) override { read("born", *channel); }
    void channelUnregistered(Channel* channel) override { read("dies", *channel); }

    std::string m_read;

private:
    void read(const char* what, const Channel& channel)
    {
        m_read += std::string(what) + " " + channel.m_name + " " +
                  std::to_string(channel.m_initialLevel) + " " + std::to_string(channel.m_flags) +
                  " children=" + std::to_string(channel.m_children.size()) + "\n";
    }
};

TEST(Channel, ListenerSeesTheFieldsWhole)
{
    const ReadingListener listener;
    {
        Channel channel("net", 3, 3);
        EXPECT_EQ("born net 3 3 children=0\n", listener.m_read);
        const Node child("tcp", &channel);
    }
    EXPECT_EQ("born net 3 3 children=0\n"
              "dies net 3 3 children=1\n",
              listener.m_read);
}

TEST(Channel, Path_RootAlone)
{
    const Node root("root");
    EXPECT_EQ("root", pathOf(root));
}

TEST(Channel, Path_RootsNameIsInNoOther)
{
    Node root("root");
    Node net("net", &root);
    Node tcp("tcp", &net);
    const Node in("in", &tcp);
    EXPECT_EQ("net", pathOf(net));
    EXPECT_EQ("net_tcp", pathOf(tcp));
    EXPECT_EQ("net_tcp_in", pathOf(in));
}

TEST(Channel, Path_EmptyNamesAndUnderscoresStay)
{
    Node root("root");
    Node unnamed("", &root);
    const Node joined("a_b", &unnamed);
    EXPECT_EQ("", pathOf(unnamed));
    EXPECT_EQ("_a_b", pathOf(joined));
}

TEST(Channel, FillPathString_AppendsAndStoresNothing)
{
    Node root("root");
    Node net("net", &root);
    const Node tcp("tcp", &net);
    std::string text("path: ");
    tcp.fillPathString(text);
    EXPECT_EQ("path: net_tcp", text);
    EXPECT_EQ("", tcp.m_path);
}

TEST(Channel, DeterminePathString_Overwrites)
{
    Node root("root");
    Node net("net", &root);
    Node tcp("tcp", &net);
    tcp.m_path = "a path that is long enough for a block of its own";
    tcp.determinePathString();
    EXPECT_EQ("net_tcp", tcp.m_path);
    tcp.determinePathString();
    EXPECT_EQ("net_tcp", tcp.m_path);
    EXPECT_EQ("tcp", tcp.m_name);
}

TEST(Channel, DeterminePathString_WithoutALocalName_Empties)
{
    Channel channel("net_tcp", 3, 0);
    channel.determinePathString();
    EXPECT_EQ("", channel.m_path);
}

TEST(Channel, FindChild_FirstInTheOrderOfTheList)
{
    Node root("root");
    Node tcp("tcp", &root);
    Node udp("udp", &root);
    const Node second("tcp", &root);
    EXPECT_EQ(&tcp, root.findChild("tcp"));
    EXPECT_EQ(&udp, root.findChild("udp"));
    root.m_children.reverse();
    EXPECT_EQ(&second, root.findChild("tcp"));
}

TEST(Channel, FindChild_NoneOfThatName)
{
    Node root("root");
    Node net("net", &root);
    const Node deeper("tcp", &net);
    net.m_path = "path";
    EXPECT_EQ(nullptr, root.findChild("tcp"));
    EXPECT_EQ(nullptr, root.findChild("root"));
    EXPECT_EQ(nullptr, root.findChild("path"));
    EXPECT_EQ(nullptr, root.findChild(""));
    EXPECT_EQ(nullptr, deeper.findChild("tcp"));
}

TEST(Channel, FindChild_SameLengthAndBytes)
{
    Node root("root");
    Node a("a", &root);
    Node withNull("", &root);
    withNull.m_name = std::string("a\0b", 3);
    EXPECT_EQ(&withNull, root.findChild(std::string("a\0b", 3)));
    EXPECT_EQ(nullptr, root.findChild(std::string("a\0c", 3)));
    EXPECT_EQ(nullptr, root.findChild(std::string("a\0", 2)));
    EXPECT_EQ(nullptr, root.findChild("A"));
    EXPECT_EQ(&a, root.findChild("a"));
}

TEST(Channel, FindByChannelId_ParentBeforeItsChildrenBeforeItsSiblings)
{
    Node root("root");
    Node net("net", &root);
    Node tcp("tcp", &net);
    Node disk("disk", &root);
    tcp.m_channelId = disk.m_channelId = 7;
    EXPECT_EQ(&tcp, root.findByChannelId(7));
    EXPECT_EQ(nullptr, root.findByChannelId(8));
    net.m_channelId = 7;
    EXPECT_EQ(&net, root.findByChannelId(7));
    root.m_channelId = 7;
    EXPECT_EQ(&root, root.findByChannelId(7));
    EXPECT_EQ(&disk, disk.findByChannelId(7));
}

TEST(Channel, FindByChannelId_AnyIdButMinusOne)
{
    Node root("root");
    Node net("net", &root);
    EXPECT_EQ(-1, root.m_channelId);
    EXPECT_EQ(nullptr, root.findByChannelId(-1));
    EXPECT_EQ(nullptr, root.findByChannelId(0));
    net.m_channelId = 0;
    EXPECT_EQ(&net, root.findByChannelId(0));
    net.m_channelId = -2;
    EXPECT_EQ(&net, root.findByChannelId(-2));
}

TEST(Channel, Detach_Root_DissolvesTheWholeTree)
{
    Node root("root");
    Node net("net", &root);
    const Node tcp("tcp", &net);
    const Node disk("disk", &root);
    root.detach();
    EXPECT_EQ(0u, root.m_children.size());
    EXPECT_EQ(0u, net.m_children.size());
    EXPECT_EQ(nullptr, net.m_parent);
    EXPECT_EQ(nullptr, tcp.m_parent);
    EXPECT_EQ(nullptr, disk.m_parent);
    EXPECT_EQ("tcp", tcp.m_name);
}

TEST(Channel, Detach_InnerNode_FormerParentStillListsIt)
{
    Node root("root");
    Node net("net", &root);
    Node tcp("tcp", &net);
    const Node in("in", &tcp);
    net.detach();
    EXPECT_EQ(std::list<Channel*>{&net}, root.m_children);
    EXPECT_EQ(nullptr, net.m_parent);
    EXPECT_EQ(nullptr, tcp.m_parent);
    EXPECT_EQ(nullptr, in.m_parent);
    EXPECT_EQ(0u, net.m_children.size());
    EXPECT_EQ(0u, tcp.m_children.size());
}

} // namespace
