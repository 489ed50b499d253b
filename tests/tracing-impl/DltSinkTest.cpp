// SPDX-License-Identifier: Apache-2.0
//
// The sink, with a stand-in for DLT's library. tracing-impl/dlt/run has the real one.

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include <common/tracing/Levels.h>

#include "support/ChildProcess.h"
#include "tracing-impl/dlt/DltSinkFixture.h"

namespace {

using fakedlt::Calls;
using tracing::Levels;
using tracing::Modifiers;
using tracing::impl::Message;
using tracing::impl::SinkPtr;

class DltSink : public fakedlt::SinkFixture
{};

Message textMessage(const char* path, short level, std::string_view text)
{
    Message message = {};
    message.path = path;
    message.level = level;
    message.payload = text;
    return message;
}

Message rawMessage(short type, std::string_view bytes)
{
    Message message = textMessage("net", Levels::LevelINFO, bytes);
    message.isRaw = true;
    message.messageType = type;
    return message;
}

Message stampedMessage(long long stamp)
{
    Message message = textMessage("net", Levels::LevelINFO, "hello");
    message.hasStamp = true;
    message.stamp = stamp;
    return message;
}

TEST_F(DltSink, StartsDltForTheProcess)
{
    const SinkPtr sink = make("pump-station");
    ASSERT_NE(sink, nullptr);
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"init", "wait at exit 0", "application PUMP pump-station",
                     "context CTRL 0 1 control of the process", "injection CTRL 4096"}));
}

TEST_F(DltSink, GivesEverythingBackAtItsEnd)
{
    SinkPtr sink = make();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink.reset();
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"no context CTRL", "no context NET", "no application", "free"}));
}

TEST_F(DltSink, CanBeMadeAgain_AfterItsEnd)
{
    make().reset();
    EXPECT_NE(make(), nullptr);
}

TEST_F(DltSink, IsNotMade_WhileThereIsOne)
{
    const SinkPtr sink = makeQuietly();
    EXPECT_EQ(make(), nullptr);
    EXPECT_EQ(fakedlt::takeCalls(), Calls{});
}

TEST_F(DltSink, IsNotMade_IfDltDoesNotStart)
{
    fakedlt::answers.starts = false;
    EXPECT_EQ(make(), nullptr);
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"init"});
}

TEST_F(DltSink, IsNotMade_IfDltDoesNotTakeTheApplication)
{
    fakedlt::answers.takesApplication = false;
    EXPECT_EQ(make(), nullptr);
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"init", "wait at exit 0", "application PUMP pump", "free"}));
}

TEST_F(DltSink, RegistersAContext_ForEachPathOnce)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net_tcp", Levels::LevelTRACE);
    sink->channelChanged("net_two", Levels::LevelFATAL);
    sink->channelChanged("ctrl", Levels::LevelOFF);
    sink->channelChanged("audio", Levels::LevelDISABLED);
    sink->channelChanged("net_tcp", Levels::LevelINFO);
    sink->channelChanged("net_tcp", Levels::LevelINFO);
    EXPECT_EQ(fakedlt::takeCalls(), (Calls{"context NETT 6 1 net_tcp", "context NET1 1 1 net_two",
                                           "context CTR1 0 1 ctrl", "context AUDI 0 1 audio"}));
}

TEST_F(DltSink, RegistersAContext_AtTheFirstMessageOfAnUnknownPath)
{
    const SinkPtr sink = makeQuietly();
    sink->write(textMessage("net_tcp", Levels::LevelWARN, "first"));
    sink->write(textMessage("net_tcp", Levels::LevelWARN, "second"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"context NETT 3 1 net_tcp", "text NETT 3 first", "text NETT 3 second"}));
}

TEST_F(DltSink, CutsADescription_ToWhatADaemonKeeps)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged(std::string(300, 'n'), Levels::LevelINFO);
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"context NNNN 4 1 " + std::string(255, 'n')});
}

TEST_F(DltSink, FailsOnMessages_IfDltTakesNoContext)
{
    const SinkPtr sink = makeQuietly();
    fakedlt::answers.takesContexts = false;
    EXPECT_THROW(sink->write(textMessage("net", Levels::LevelINFO, "lost")), std::runtime_error);
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"context NET 4 1 net"});
}

TEST_F(DltSink, DropsMessages_IfDltDoesNotTakeThem)
{
    const SinkPtr sink = makeQuietly();
    fakedlt::answers.takesMessages = false;
    sink->write(textMessage("net", Levels::LevelINFO, "lost"));
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"context NET 4 1 net"});
}

TEST_F(DltSink, FailsOnMessages_IfThereIsNoIdLeft)
{
    const SinkPtr sink = makeQuietly();
    for (int number = 0; number < 10000; ++number)
        sink->channelChanged("nett_" + std::to_string(number), Levels::LevelINFO);
    fakedlt::takeCalls();
    EXPECT_THROW(sink->write(textMessage("nett_last", Levels::LevelINFO, "lost")),
                 std::runtime_error);
    sink->write(textMessage("nett_9999", Levels::LevelINFO, "kept"));
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"text 9999 4 kept"});
}

TEST_F(DltSink, TakesALevelBelowAll_ForTheLowest)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", -1);
    sink->write(textMessage("net", -1, "hello"));
    EXPECT_EQ(fakedlt::takeCalls(), (Calls{"context NET 6 1 net", "text NET 6 hello"}));
}

TEST_F(DltSink, TriesAContextAgain_WithItsId)
{
    const SinkPtr sink = makeQuietly();
    fakedlt::answers.takesContexts = false;
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::answers.takesContexts = true;
    sink->write(textMessage("net", Levels::LevelWARN, "hello"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"context NET 4 1 net", "context NET 3 1 net", "text NET 3 hello"}));
}

TEST_F(DltSink, GivesBackNoContext_ThatDltDidNotTake)
{
    SinkPtr sink = makeQuietly();
    fakedlt::answers.takesContexts = false;
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink.reset();
    EXPECT_EQ(fakedlt::takeCalls(), (Calls{"no context CTRL", "no application", "free"}));
}

TEST_F(DltSink, Flush_SendsWhatWasHeldBack)
{
    const SinkPtr sink = makeQuietly();
    sink->flush();
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"resend"});
}

TEST_F(DltSink, TurnsLevelsAround)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelTRACE);
    fakedlt::takeCalls();
    for (short level = Levels::LevelTRACE; level <= Levels::LevelFATAL; ++level)
        sink->write(textMessage("net", level, "hello"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 6 hello", "text NET 5 hello", "text NET 4 hello", "text NET 3 hello",
                     "text NET 2 hello", "text NET 1 hello"}));
}

TEST_F(DltSink, WritesWhatItIsGiven_WhateverDltsOwnFilter)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelFATAL);
    fakedlt::takeCalls();
    sink->write(textMessage("net", Levels::LevelTRACE, "after a change on our side"));
    fakedlt::changeLevel("NET", DLT_LOG_OFF, fakedlt::ANSWERED);
    sink->write(textMessage("net", Levels::LevelFATAL, "after an answer"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 6 after a change on our side", "text NET 1 after an answer"}));
}

TEST_F(DltSink, WritesAnEmptyText)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(textMessage("net", Levels::LevelINFO, {}));
    EXPECT_EQ(fakedlt::takeCalls(), Calls{"text NET 4 "});
}

TEST_F(DltSink, SplitsALongText)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    const std::string most(1383, 'a');
    sink->write(textMessage("net", Levels::LevelINFO, most));
    sink->write(textMessage("net", Levels::LevelINFO, most + std::string(1383, 'b') + "c"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 " + most, "text NET 4 " + most,
                     "text NET 4 " + std::string(1383, 'b'), "text NET 4 c"}));
}

TEST_F(DltSink, SplitsBetweenCharacters)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(textMessage("net", Levels::LevelINFO, std::string(1382, 'a') + "\xc3\xbc"));
    sink->write(textMessage("net", Levels::LevelINFO, std::string(1380, 'a') + "\xf0\x9f\x98\x80"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 " + std::string(1382, 'a'), "text NET 4 \xc3\xbc",
                     "text NET 4 " + std::string(1380, 'a'), "text NET 4 \xf0\x9f\x98\x80"}));
}

TEST_F(DltSink, SplitsAnywhere_WhatIsNoUtf8)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(textMessage("net", Levels::LevelINFO, std::string(1384, '\x80')));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 " + std::string(1383, '\x80'), "text NET 4 \x80"}));
}

TEST_F(DltSink, WritesRawMessagesWithTheirType)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(rawMessage(137, std::string_view("\x01\0\xff", 3)));
    sink->write(rawMessage(-1, {}));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{std::string("raw NET 4 (type 137) \x01\0\xff", 24), "raw NET 4 (type -1) "}));
}

TEST_F(DltSink, SplitsRawMessages_WithANote)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(rawMessage(2, std::string(1324, 'a')));
    sink->write(rawMessage(2, std::string(1324, 'a') + "b"));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"raw NET 4 (type 2) " + std::string(1324, 'a'),
                     "raw NET 4 (type 2, bytes 0 to 1323 of 1325) " + std::string(1324, 'a'),
                     "raw NET 4 (type 2, bytes 1324 to 1324 of 1325) b"}));
}

TEST_F(DltSink, ShowsObfuscatedMessagesByTheirSize)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    Message text = textMessage("net", Levels::LevelINFO, "secret");
    text.modifiers = Modifiers::OBFUSCATE;
    sink->write(text);
    Message raw = rawMessage(2, "secrets");
    raw.modifiers = Modifiers::OBFUSCATE | Modifiers::SAFE_TRANSPORT;
    sink->write(raw);
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 6 bytes, obfuscated", "text NET 4 type 2, 7 bytes, obfuscated"}));
}

TEST_F(DltSink, HandsOnATimeStamp)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(stampedMessage(0));
    sink->write(stampedMessage(4294967295));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 at 0 hello", "text NET 4 at 4294967295 hello"}));
}

TEST_F(DltSink, WritesATimeStampIntoTheText_ThatDltCannotHold)
{
    const SinkPtr sink = makeQuietly();
    sink->channelChanged("net", Levels::LevelINFO);
    fakedlt::takeCalls();
    sink->write(stampedMessage(4294967296));
    sink->write(stampedMessage(-1));
    EXPECT_EQ(fakedlt::takeCalls(),
              (Calls{"text NET 4 @4294967296 hello", "text NET 4 @-1 hello"}));
}

/// The sink that is written to, and destroyed, after DLT was freed by its exit handler.
tracing::impl::Sink* s_lateSink = nullptr;

void useLateSink()
{
    if (s_lateSink == nullptr) return;
    s_lateSink->write(textMessage("net", Levels::LevelINFO, "late"));
    delete s_lateSink;
    std::cout << fakedlt::takeCalls().size() << " calls" << std::endl;
}

/// Earlier than any exit handler of the sink, to be called after it.
[[maybe_unused]] const int s_isLate = std::atexit(useLateSink);

TEST_F(DltSink, LeavesDltAlone_WhenTheProcessExits)
{
    const support::ChildResult result = support::runInChildToExit([this] {
        s_lateSink = make().release();
        s_lateSink->channelChanged("net", Levels::LevelINFO);
        fakedlt::takeCalls();
    });
    EXPECT_EQ(result.out, "0 calls\n");
}

} // namespace
