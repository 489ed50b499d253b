// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/TraceBuffer.h>

#include <optional>
#include <string>
#include <type_traits>

#include <common/tracing/Channel.h>
#include <gtest/gtest.h>

#include "support/RecordingClient.h"

namespace {

using support::RecordingClient;
using tracing::Channel;
using tracing::TraceBuffer;

static_assert(!std::is_copy_constructible<TraceBuffer>::value);
static_assert(!std::is_copy_assignable<TraceBuffer>::value);
static_assert(!std::is_move_constructible<TraceBuffer>::value);
static_assert(std::is_nothrow_destructible<TraceBuffer>::value);

/// A line on a channel whose client notes what is sent.
class TraceBufferTest : public testing::Test
{
protected:
    TraceBufferTest() : channel("net", 0, 0)
    {
        channel.m_client = &client;
        channel.setFilterLevel(2);
        line.emplace(&channel);
    }

    /// Prints the line. Returns what arrived, one call a line.
    std::string printed()
    {
        line->print();
        return client.calls();
    }

    RecordingClient client;
    Channel channel;
    std::optional<TraceBuffer> line;
};

/// The call of a line that was sent.
std::string sent(short level, const std::string& text)
{
    return "string channel=net level=" + std::to_string(level) + " modifiers=0 text=" + text;
}

/// What no multibyte text of the plain locale can hold, behind something that it can.
constexpr const wchar_t* UNENCODABLE = L"ab\x20ac";

TEST_F(TraceBufferTest, Append_KeepsWhatPassesAndWhatHasNoLevel)
{
    line->append(1, "a");
    line->append(3, "b");
    line->append("c");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=bc", printed());
    EXPECT_EQ("", printed());
}

TEST_F(TraceBufferTest, Append_LevelOfTheFilterPasses)
{
    line->append(2, "a");
    EXPECT_EQ(sent(2, "a"), printed());
    channel.setFilterLevel(6);
    line->append(5, "a");
    channel.setFilterLevel(0);
    EXPECT_EQ("", printed());
}

TEST_F(TraceBufferTest, Append_LineHasTheHighestLevel)
{
    line->append(2, "a");
    line->append(4, "b");
    line->append(3, "c");
    line->append(4, "d");
    EXPECT_EQ(sent(4, "abcd"), printed());
}

TEST_F(TraceBufferTest, Append_RejectedPieceLeavesTheLine)
{
    line->append(3, "a");
    line->append(1, "b");
    line->appendf(1, "%s", "c");
    EXPECT_EQ(sent(3, "a"), printed());
}

TEST_F(TraceBufferTest, Append_NegativeLevelDoesNotLowerTheLine)
{
    channel.setFilterLevel(-5);
    line->append(-1, "a");
    line->appendf(-5, "%s", "b");
    line->append(-6, "c");
    EXPECT_EQ(sent(0, "ab"), printed());
}

TEST_F(TraceBufferTest, Appendf_FollowsTheRulesOfAppend)
{
    line->appendf(1, "%s", "a");
    line->appendf(3, "%s%d", "b", 7);
    line->appendf("%c", 'c');
    line->appendf(2, "%u", 8U);
    EXPECT_EQ(sent(3, "b7c8"), printed());
}

TEST_F(TraceBufferTest, UnleveledPiecesAlone_GoToLevelTrace)
{
    channel.setFilterLevel(0);
    line->append("a");
    line->appendf("%d", 1);
    EXPECT_EQ(sent(0, "a1"), printed());
}

TEST_F(TraceBufferTest, UnleveledPiecesAlone_AreHeldBackByAnyOtherFilter)
{
    channel.setFilterLevel(1);
    line->append("a");
    EXPECT_EQ("", printed());
    line->append(1, "b");
    EXPECT_EQ(sent(1, "b"), printed());
}

TEST_F(TraceBufferTest, Set_StartsAnew)
{
    line->append(4, "a");
    line->set(2, "b");
    EXPECT_EQ(sent(2, "b"), printed());
    line->append(4, "a");
    line->setf(3, "%s%d", "c", 1);
    EXPECT_EQ(sent(3, "c1"), printed());
}

TEST_F(TraceBufferTest, Set_IsAppendedTo)
{
    line->set(3, "a");
    line->append("b");
    line->append(2, "c");
    EXPECT_EQ(sent(3, "abc"), printed());
    line->setf(3, "%s", "a");
    line->append(4, "b");
    EXPECT_EQ(sent(4, "ab"), printed());
}

TEST_F(TraceBufferTest, Set_NegativeLevelIsTheLines)
{
    channel.setFilterLevel(-5);
    line->append(3, "a");
    line->set(-1, "b");
    EXPECT_EQ(sent(-1, "b"), printed());
    line->setf(-5, "%s", "c");
    EXPECT_EQ(sent(-5, "c"), printed());
}

TEST_F(TraceBufferTest, Set_RejectedClearsText)
{
    line->append(4, "a");
    line->set(1, "b");
    EXPECT_EQ("", printed());
    line->append(4, "a");
    line->setf(1, "%s", "b");
    EXPECT_EQ("", printed());
}

TEST_F(TraceBufferTest, Set_RejectedClearsLevel)
{
    channel.setFilterLevel(0);
    line->append(4, "a");
    line->set(-1, "b");
    line->append("c");
    EXPECT_EQ(sent(0, "c"), printed());
    line->append(4, "a");
    line->setf(-1, "%s", "b");
    line->append("c");
    EXPECT_EQ(sent(0, "c"), printed());
}

TEST_F(TraceBufferTest, Reset_ClearsTextAndLevel)
{
    channel.setFilterLevel(0);
    line->append(4, "a");
    line->reset();
    line->append("b");
    EXPECT_EQ(sent(0, "b"), printed());
}

TEST_F(TraceBufferTest, Print_EmptiesTheLine)
{
    channel.setFilterLevel(0);
    line->append(4, "a");
    EXPECT_EQ(sent(4, "a"), printed());
    line->append("b");
    EXPECT_EQ(sent(0, "b"), printed());
}

TEST_F(TraceBufferTest, Print_RejectedLevelResetsAllTheSame)
{
    line->append(3, "a");
    channel.setFilterLevel(4);
    EXPECT_EQ("", printed());
    channel.setFilterLevel(0);
    EXPECT_EQ("", printed());
    line->append("b");
    EXPECT_EQ(sent(0, "b"), printed());
}

TEST_F(TraceBufferTest, Print_EmptyTextSendsNothingAndResetsTheLevel)
{
    channel.setFilterLevel(0);
    line->append(4, "");
    EXPECT_EQ("", printed());
    line->append("b");
    EXPECT_EQ(sent(0, "b"), printed());
}

TEST_F(TraceBufferTest, FilterRaised_LaterPieceMayCarryTheWholeLine)
{
    line->append(3, "a");
    channel.setFilterLevel(5);
    line->append(4, "b");
    line->append(5, "c");
    EXPECT_EQ(sent(5, "ac"), printed());
}

TEST_F(TraceBufferTest, FilterLowered_DroppedPiecesStayAway)
{
    line->append(1, "a");
    line->append("b");
    channel.setFilterLevel(0);
    EXPECT_EQ(sent(0, "b"), printed());
}

TEST_F(TraceBufferTest, Destructor_SendsOnce)
{
    line->append(3, "a");
    line.reset();
    EXPECT_EQ(sent(3, "a"), client.calls());
}

TEST_F(TraceBufferTest, Destructor_SendsNothingBehindAPrint)
{
    line->append(3, "a");
    EXPECT_EQ(sent(3, "a"), printed());
    line.reset();
    EXPECT_EQ("", client.calls());
}

TEST_F(TraceBufferTest, Destructor_ObeysTheFilter)
{
    line->append(3, "a");
    channel.setFilterLevel(4);
    line.reset();
    EXPECT_EQ("", client.calls());
}

TEST_F(TraceBufferTest, Appendf_510And511Characters_AreWhole)
{
    line->appendf("%s", std::string(510, 'x').c_str());
    line->appendf(3, "%s", std::string(510, 'y').c_str());
    EXPECT_EQ(sent(3, std::string(510, 'x') + std::string(510, 'y')), printed());
    line->appendf("%s", std::string(511, 'x').c_str());
    line->appendf(3, "%s", std::string(511, 'y').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x') + std::string(511, 'y')), printed());
}

TEST_F(TraceBufferTest, Appendf_LongerPieces_AreCutEachAt511)
{
    line->appendf("%s", std::string(512, 'x').c_str());
    line->appendf(3, "%s", std::string(512, 'y').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x') + std::string(511, 'y')), printed());
    line->appendf("%s", std::string(700, 'x').c_str());
    line->appendf(3, "%s", std::string(700, 'y').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x') + std::string(511, 'y')), printed());
}

TEST_F(TraceBufferTest, Setf_IsCutAt511)
{
    line->setf(3, "%s", std::string(510, 'x').c_str());
    EXPECT_EQ(sent(3, std::string(510, 'x')), printed());
    line->setf(3, "%s", std::string(511, 'x').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x')), printed());
    line->setf(3, "%s", std::string(512, 'x').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x')), printed());
    line->setf(3, "%s", std::string(700, 'x').c_str());
    EXPECT_EQ(sent(3, std::string(511, 'x')), printed());
}

TEST_F(TraceBufferTest, TextsWithoutFormat_AreWhole)
{
    line->set(3, std::string(700, 'x').c_str());
    line->append(std::string(700, 'y').c_str());
    line->append(3, std::string(700, 'z').c_str());
    EXPECT_EQ(sent(3, std::string(700, 'x') + std::string(700, 'y') + std::string(700, 'z')),
              printed());
}

TEST_F(TraceBufferTest, TextsAreNoFormats)
{
    line->set(3, "%d");
    line->append("%s%n");
    line->append(3, "100%");
    line->appendf("%s", "%d%%");
    EXPECT_EQ(sent(3, "%d%s%n100%%d%%"), printed());
}

TEST_F(TraceBufferTest, Appendf_FailedFormattingAddsNothing)
{
    line->append(3, "kept");
    line->appendf("lost %ls", UNENCODABLE);
    EXPECT_EQ(sent(3, "kept"), printed());
}

TEST_F(TraceBufferTest, Appendf_FailedFormattingIsAnEmptyPieceOfItsLevel)
{
    line->append(3, "kept");
    line->appendf(4, "lost %ls", UNENCODABLE);
    EXPECT_EQ(sent(4, "kept"), printed());
}

TEST_F(TraceBufferTest, Setf_FailedFormattingStartsAnEmptyLine)
{
    line->append(3, "old");
    line->setf(4, "lost %ls", UNENCODABLE);
    line->append("new");
    EXPECT_EQ(sent(4, "new"), printed());
}

TEST_F(TraceBufferTest, GoesToTheChannelsClientAlone)
{
    RecordingClient other;
    const support::InstalledClient installed(other);
    line->append(3, "a");
    EXPECT_EQ(sent(3, "a"), printed());
    channel.m_client = nullptr;
    line->append(3, "b");
    EXPECT_EQ("", printed());
    channel.m_client = &client;
    EXPECT_EQ("", printed());
    EXPECT_EQ("", other.calls());
}

} // namespace
