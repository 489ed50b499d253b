// SPDX-License-Identifier: Apache-2.0
//
// Every request and its answer, word for word.

#include <tracing-impl/ControlProtocol.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <support/ControlTool.h>

namespace {

using tracing::impl::answerTo;
using namespace std::string_view_literals;

class ControlProtocolTest : public testing::Test
{
protected:
    std::string ask(std::string_view request) { return answerTo(request, m_target); }
    /// Expects that the request is answered so and has nothing called.
    void expectRefused(const std::string& answer, std::string_view request)
    {
        EXPECT_EQ(answer, ask(request));
        EXPECT_EQ("", m_target.take());
    }

    support::RecordingTarget m_target;
};

TEST_F(ControlProtocolTest, List)
{
    EXPECT_EQ("1 info info net\n2 none info net_tcp\nok\n", ask("list"));
    EXPECT_EQ("", m_target.take());
}

TEST_F(ControlProtocolTest, List_NoChannels)
{
    m_target.setChannels({});
    EXPECT_EQ("ok\n", ask("list"));
}

TEST_F(ControlProtocolTest, List_AllLevels)
{
    m_target.setChannels({{"a", 1, 0, 1},
                          {"b", 2, 2, 3},
                          {"c", 3, 4, 5},
                          {"d", 4, 6, 8},
                          {"e", 5, 7, 9},
                          {"f", 6, 10, -1}});
    EXPECT_EQ("1 trace debug a\n"
              "2 info warning b\n"
              "3 error fatal c\n"
              "4 off disabled d\n"
              "5 none default e\n"
              "6 10 -1 f\n"
              "ok\n",
              ask("list"));
}

TEST_F(ControlProtocolTest, List_HostileName_StaysOnItsLine)
{
    m_target.setChannels({{"a\nok\n\x1b[2J\x7f\r", 2147483647, 2, 2}});
    EXPECT_EQ("2147483647 info info a\\nok\\n\\x1b[2J\\x7f\\r\nok\n", ask("list"));
}

TEST_F(ControlProtocolTest, Set)
{
    EXPECT_EQ("ok\n", ask("set net_tcp debug"));
    EXPECT_EQ("set net_tcp 1\n", m_target.take());
    EXPECT_EQ("ok\n", ask("set net_tcp none"));
    EXPECT_EQ("ok\n", ask("set net_tcp default"));
    EXPECT_EQ("set net_tcp 7\nset net_tcp 9\n", m_target.take());
}

TEST_F(ControlProtocolTest, Set_PathWithABlank)
{
    EXPECT_EQ("ok\n", ask("set my net info"));
    EXPECT_EQ("set my net 2\n", m_target.take());
}

TEST_F(ControlProtocolTest, Set_NoSuchChannel)
{
    EXPECT_EQ("error no such channel: udp\n", ask("set udp info"));
    EXPECT_EQ("set udp 2\n", m_target.take());
    EXPECT_EQ("error no such channel: a\\x1b\n", ask("set a\x1b info"));
    EXPECT_EQ("error no such channel: \n", ask("set  info"));
}

TEST_F(ControlProtocolTest, Set_NoSuchLevel)
{
    expectRefused("error no such level: loud\n", "set net_tcp loud");
    expectRefused("error no such level: INFO\n", "set net_tcp INFO");
    expectRefused("error no such level: 2\n", "set net_tcp 2");
    expectRefused("error no such level: \n", "set net_tcp ");
    expectRefused("error no such level: \n", "set net_tcp");
    expectRefused("error no such level: \n", "set ");
    expectRefused("error no such level: \n", "set");
    expectRefused("error no such level: info\\x00\n", "set net_tcp info\0"sv);
    expectRefused("error no such level: info\\r\n", "set net_tcp info\r");
}

TEST_F(ControlProtocolTest, Call)
{
    EXPECT_EQ("ok\n", ask("call restart 6e6F77"));
    EXPECT_EQ("call restart now\n", m_target.take());
    EXPECT_EQ("ok\n", ask("call restart -"));
    EXPECT_EQ("call restart \n", m_target.take());
    EXPECT_EQ("ok\n", ask("call restart 00ff0A"));
    EXPECT_EQ("call restart \0\xff\n\n"sv, m_target.take());
}

TEST_F(ControlProtocolTest, Call_NameWithABlank)
{
    EXPECT_EQ("ok\n", ask("call re start 61"));
    EXPECT_EQ("call re start a\n", m_target.take());
}

TEST_F(ControlProtocolTest, Call_NoSuchCallback)
{
    EXPECT_EQ("error no such callback: stop\n", ask("call stop 61"));
    EXPECT_EQ("call stop a\n", m_target.take());
}

TEST_F(ControlProtocolTest, Call_NoDigits)
{
    expectRefused("error no hexadecimal digits: 6\n", "call restart 6");
    // another digit lies behind the request
    expectRefused("error no hexadecimal digits: 6\n", "call restart 61"sv.substr(0, 14));
    expectRefused("error no hexadecimal digits: 6g\n", "call restart 6g");
    expectRefused("error no hexadecimal digits: g6\n", "call restart g6");
    expectRefused("error no hexadecimal digits: 0x61\n", "call restart 0x61");
    expectRefused("error no hexadecimal digits: --\n", "call restart --");
    expectRefused("error no hexadecimal digits: 61\\x00\n", "call restart 61\0"sv);
    expectRefused("error no hexadecimal digits: \n", "call restart ");
    expectRefused("error no hexadecimal digits: \n", "call restart");
    expectRefused("error no hexadecimal digits: \n", "call ");
    expectRefused("error no hexadecimal digits: \n", "call");
}

TEST_F(ControlProtocolTest, NoSuchRequest)
{
    expectRefused("error no such request: \n", "");
    expectRefused("error no such request:  \n", " ");
    expectRefused("error no such request: lists\n", "lists");
    expectRefused("error no such request: list \n", "list ");
    expectRefused("error no such request: list net\n", "list net");
    expectRefused("error no such request: LIST\n", "LIST");
    expectRefused("error no such request: list\\r\n", "list\r");
    expectRefused("error no such request: list\\x00\n", "list\0"sv);
    expectRefused("error no such request: settle net_tcp info\n", "settle net_tcp info");
    expectRefused("error no such request:  set net_tcp info\n", " set net_tcp info");
    expectRefused("error no such request: watch\n", "watch");
    expectRefused("error no such request: \xff\xfe\n", "\xff\xfe");
}

TEST_F(ControlProtocolTest, Longest)
{
    const std::string digits = "call restart " + std::string(1011, '6');
    expectRefused("error no hexadecimal digits: " + std::string(1011, '6') + "\n", digits);
    const std::string request = "call restart  " + std::string(1010, '6');
    ASSERT_EQ(1024u, request.size());
    EXPECT_EQ("error no such callback: restart \n", ask(request));
    EXPECT_EQ("call restart  " + std::string(505, 'f') + "\n", m_target.take());
}

TEST_F(ControlProtocolTest, TooLong)
{
    const std::string longest = "set net_tcp " + std::string(1012, 'x');
    expectRefused("error no such level: " + std::string(1012, 'x') + "\n", longest);
    expectRefused("error the request is too long\n", longest + "x");
    expectRefused("error the request is too long\n", std::string(100000, '\0'));
}

} // namespace
