// SPDX-License-Identifier: Apache-2.0
//
// What a viewer asks of the process through the sink, with a stand-in for DLT's library.

#include <tracing-impl/DltRemote.h>

#include <new>
#include <string>

#include <common/tracing/Levels.h>

#include "tracing-impl/dlt/DltSinkFixture.h"

namespace {

using fakedlt::ANSWERED;
using fakedlt::Calls;
using fakedlt::CHANGED;
using tracing::Levels;
using tracing::impl::SinkPtr;

class DltRemote : public fakedlt::SinkFixture
{};

TEST_F(DltRemote, BringsLevelsToTheTarget)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net_tcp", Levels::LevelINFO);
    fakedlt::changeLevel("NETT", DLT_LOG_VERBOSE, CHANGED);
    fakedlt::changeLevel("NETT", DLT_LOG_FATAL, CHANGED);
    fakedlt::changeLevel("NETT", DLT_LOG_OFF, CHANGED);
    fakedlt::changeLevel("NETT", 255, CHANGED);
    EXPECT_EQ(m_target.calls,
              (Calls{"net_tcp=trace", "net_tcp=fatal", "net_tcp=off", "net_tcp=default"}));
}

TEST_F(DltRemote, CanBeToldOfAChannel_WhileItBringsALevel)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    m_target.onLevel = [&sink] { sink->channelChanged("net_tcp", Levels::LevelDEBUG); };
    fakedlt::takeCalls();
    fakedlt::changeLevel("NET", DLT_LOG_DEBUG, CHANGED);
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"context NETT 5 1 net_tcp"});
}

TEST_F(DltRemote, LeavesOutWhatADaemonAnswers)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelTRACE);
    sink->channelChanged("audio", Levels::LevelTRACE);
    fakedlt::changeLevel("CTRL", DLT_LOG_INFO, ANSWERED);
    fakedlt::changeLevel("NET", DLT_LOG_INFO, ANSWERED);
    fakedlt::changeLevel("NET", DLT_LOG_WARN, ANSWERED);
    fakedlt::changeLevel("AUDI", DLT_LOG_INFO, ANSWERED);
    EXPECT_EQ(m_target.calls, Calls{"net=warning"});
}

TEST_F(DltRemote, RegistersItsOwnContextOnceMore_ForEachDaemon)
{
    const Calls once = {"context CTRL 0 1 control of the process", "injection CTRL 4096"};
    const SinkPtr sink = makeQuietly();
    fakedlt::changeLevel("CTRL", DLT_LOG_INFO, ANSWERED);
    EXPECT_EQ(fakedlt::takeCalls(), once);
    fakedlt::changeLevel("CTRL", DLT_LOG_INFO, ANSWERED);
    EXPECT_EQ(fakedlt::takeCalls(), once);
    fakedlt::changeLevel("CTRL", DLT_LOG_INFO, ANSWERED); // for the second time it was registered
    EXPECT_EQ(fakedlt::takeCalls(), Calls{});
}

TEST_F(DltRemote, TakesALevelForAll_AsAChange)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelTRACE);
    fakedlt::changeLevel("CTRL", DLT_LOG_INFO, CHANGED);
    fakedlt::changeLevel("NET", DLT_LOG_INFO, CHANGED);
    EXPECT_EQ(m_target.calls, Calls{"net=info"});
}

TEST_F(DltRemote, CallsWhatIsInjected)
{
    const SinkPtr sink = makeQuietly();
    EXPECT_EQ(fakedlt::inject("restart"), DLT_RETURN_OK);
    EXPECT_EQ(fakedlt::inject("restart now, please"), DLT_RETURN_OK);
    EXPECT_EQ(fakedlt::inject("restart "), DLT_RETURN_OK);
    EXPECT_EQ(fakedlt::inject(std::string("a b\0c", 5)), DLT_RETURN_OK);
    EXPECT_EQ(fakedlt::inject("unknown"), DLT_RETURN_ERROR);
    EXPECT_EQ(fakedlt::inject(""), DLT_RETURN_OK);
    EXPECT_EQ(m_target.calls, (Calls{"restart()", "restart(now, please)", "restart()",
                                     std::string("a(b\0c)", 6), "unknown()", "()"}));
}

TEST_F(DltRemote, LeavesOutALevel_OfAContextThatItDoesNotKnow)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    char id[] = {'A', 'U', 'D', 'I'};
    tracing::impl::DltRemote::levelChanged(id, DLT_LOG_VERBOSE, CHANGED);
    EXPECT_EQ(m_target.calls, Calls{});
}

TEST_F(DltRemote, ReadsNothingBehindAnId)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net_tcp", Levels::LevelINFO);
    char id[] = {'N', 'E', 'T', 'T', 'X', 0};
    tracing::impl::DltRemote::levelChanged(id, DLT_LOG_VERBOSE, CHANGED);
    EXPECT_EQ(m_target.calls, Calls{"net_tcp=trace"});
}

TEST_F(DltRemote, LivesOn_WhenTheTargetThrows)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    m_target.onLevel = m_target.onCall = [] { throw std::bad_alloc(); };
    fakedlt::changeLevel("NET", DLT_LOG_VERBOSE, CHANGED);
    EXPECT_EQ(fakedlt::inject("restart"), DLT_RETURN_ERROR);
    m_target.onLevel = m_target.onCall = nullptr;
    fakedlt::changeLevel("NET", DLT_LOG_FATAL, CHANGED);
    EXPECT_EQ(fakedlt::inject("restart"), DLT_RETURN_OK);
    EXPECT_EQ(m_target.calls, (Calls{"net=trace", "restart()", "net=fatal", "restart()"}));
}

TEST_F(DltRemote, BringsNothing_OfAnEarlierSinksContexts)
{
    SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    sink.reset();
    sink = makeQuietly();
    fakedlt::changeLevel("NET", DLT_LOG_VERBOSE, CHANGED);
    EXPECT_EQ(m_target.calls, Calls{});
}

TEST_F(DltRemote, BringsNothing_AfterItsEnd)
{
    SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    sink.reset();
    fakedlt::changeLevel("NET", DLT_LOG_VERBOSE, CHANGED);
    EXPECT_EQ(fakedlt::inject("restart"), DLT_RETURN_ERROR);
    EXPECT_EQ(m_target.calls, Calls{});
}

} // namespace
