// SPDX-License-Identifier: Apache-2.0
//
// Syncing, seeking, and the standard's streams over files.

#include <common/streams/fstream.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
#include "support/ScriptedFile.h"

namespace {

using support::BufferedFile;
using support::ChildResult;
using support::OpenStorage;
using support::reportTitle;
using support::runInChild;
using support::ScriptedFile;

constexpr int END_OF_FILE = std::char_traits<char>::eof();
constexpr auto IN = std::ios_base::in;
constexpr auto OUT = std::ios_base::out;
constexpr auto BEG = std::ios_base::beg;
constexpr auto CUR = std::ios_base::cur;
constexpr auto END = std::ios_base::end;

TEST(Filebuf, Sync_WritesThenFlushes)
{
    BufferedFile file(OUT, 8);
    file.sputn("abc", 3);
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(abc) flush()", file.takeCalls());
    EXPECT_EQ("+7", file.putArea());
}

TEST(Filebuf, Sync_EmptyPutAreaOnlyFlushes)
{
    BufferedFile file(IN, 8);
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("flush()", file.takeCalls());
    file.give("abc");
    file.sbumpc();
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("read(8) flush()", file.takeCalls());
    EXPECT_EQ("a|bc", file.getArea());
}

TEST(Filebuf, Sync_FailedFlush)
{
    BufferedFile file(OUT, 8);
    file.sputc('a');
    file.failFlush();
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ("+7", file.putArea());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(a) flush() flush()", file.takeCalls());
}

TEST(Filebuf, Sync_FailedFlush_AnyResultButZero)
{
    BufferedFile file(OUT, 8);
    file.failFlush(-1);
    EXPECT_EQ(-1, file.pubsync());
    file.failFlush(5);
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ(0, file.pubsync());
}

/// Refuses what is pending.
struct OwnOverflow : BufferedFile
{
    using BufferedFile::BufferedFile;
    int overflow(int c) override { return m_refuses ? END_OF_FILE : BufferedFile::overflow(c); }
    bool m_refuses = false;
};

TEST(Filebuf, Sync_ReplacedOverflowIsAsked)
{
    OwnOverflow file(OUT, 8);
    file.sputc('a');
    file.m_refuses = true;
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ("", file.takeCalls());
    EXPECT_EQ("a+6", file.putArea());
}

TEST(Filebuf, Sync_FailedWriteFlushesNothing)
{
    const OpenStorage storage;
    support::startChain(3);
    BufferedFile file(OUT, 8);
    file.sputn("abc", 3);
    file.failWrite(EIO);
    EXPECT_EQ(-1, file.pubsync());
    EXPECT_EQ("write(abc)", file.takeCalls());
    EXPECT_EQ("abc+4", file.putArea());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("write(abc) flush()", file.takeCalls());
}

TEST(Filebuf, Seek_WhileReading_IsRelativeToTheNextCharacter)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.takeCalls();
    file.answerSeek(0, 1);
    EXPECT_EQ(std::streampos(1), file.pubseekoff(0, CUR));
    EXPECT_EQ("seek(-4,cur)", file.takeCalls());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
    file.pubseekoff(3, CUR);
    EXPECT_EQ("seek(3,cur)", file.takeCalls());
}

TEST(Filebuf, Seek_FromBothEnds_IsNotAdjusted)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.pubseekoff(2, BEG);
    file.give("abcde");
    file.sbumpc();
    file.pubseekoff(-2, END);
    EXPECT_EQ("read(8) seek(2,beg) read(8) seek(-2,end)", file.takeCalls());
}

TEST(Filebuf, Seek_NotReading_IsNotAdjusted)
{
    BufferedFile file(IN, 8);
    file.give("abcde");
    file.sbumpc();
    file.reading = false; // as a derived class may
    file.pubseekoff(1, CUR);
    EXPECT_EQ("read(8) seek(1,cur)", file.takeCalls());
}

TEST(Filebuf, Seek_WhileWriting_DropsWhatIsPending)
{
    BufferedFile file(IN | OUT, 8);
    file.sputn("abc", 3);
    EXPECT_EQ(std::streampos(100), file.pubseekoff(-1, CUR));
    EXPECT_EQ("seek(-1,cur)", file.takeCalls());
    EXPECT_EQ("none", file.putArea());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
    EXPECT_EQ(0, file.pubsync());
    EXPECT_EQ("flush()", file.takeCalls());
}

TEST(Filebuf, Seek_BehindTheLimitOf32Bits)
{
    BufferedFile file(IN, 8);
    file.answerSeek(0, 0x180000001LL);
    EXPECT_EQ(0x180000001LL, std::streamoff(file.pubseekoff(0x180000001LL, BEG)));
    file.pubseekpos(std::streamoff(0x180000002LL));
    EXPECT_EQ("seek(6442450945,beg) seek(6442450946,beg)", file.takeCalls());
}

TEST(Filebuf, Seek_OutOfRange_ChangesNothing)
{
    BufferedFile file(IN, 8);
    file.give("abc");
    file.sbumpc();
    file.takeCalls();
    EXPECT_EQ(std::streampos(-1), file.pubseekoff(std::numeric_limits<long long>::min(), CUR));
    EXPECT_EQ("", file.takeCalls());
    EXPECT_EQ("a|bc", file.getArea());
    EXPECT_EQ("r", file.state());
}

TEST(Filebuf, Seek_ToAPosition)
{
    BufferedFile file(IN, 8);
    file.give("abc");
    file.sbumpc();
    file.answerSeek(0, 7);
    EXPECT_EQ(std::streampos(7), file.pubseekpos(7));
    EXPECT_EQ("read(8) seek(7,beg)", file.takeCalls());
    EXPECT_EQ("|", file.getArea());
    EXPECT_EQ("", file.state());
}

TEST(Filebuf, Seek_DirectionOfUseDoesNotMatter)
{
    BufferedFile file(IN, 8);
    EXPECT_EQ(std::streampos(100), file.pubseekoff(1, BEG, OUT));
    EXPECT_EQ(std::streampos(100), file.pubseekpos(2, std::ios_base::openmode()));
    EXPECT_EQ("seek(1,beg) seek(2,beg)", file.takeCalls());
}

TEST(Filebuf, Seek_Failed_ChangesNothing)
{
    BufferedFile file(IN | OUT, 8);
    file.give("abc");
    file.sbumpc();
    file.answerSeek(-1, 7);
    EXPECT_EQ(std::streampos(-1), file.pubseekoff(0, CUR));
    EXPECT_EQ("a|bc", file.getArea());
    EXPECT_EQ("r", file.state());
    file.pubseekpos(0);
    file.sputc('x');
    file.answerSeek(1, 7);
    EXPECT_EQ(std::streampos(-1), file.pubseekpos(7));
    EXPECT_EQ("x+6", file.putArea());
    EXPECT_EQ("w", file.state());
}

/// Keeps the position that a seek begins with, and fails.
struct StuckFile : ScriptedFile
{
    using ScriptedFile::ScriptedFile;
    int seekFile(long long, std::ios_base::seekdir, std::streampos& result) override
    {
        m_begin = result;
        return 1;
    }
    std::streampos m_begin = 7;
};

bool isCleared(const std::mbstate_t& state)
{
    const std::mbstate_t cleared = {};
    return std::memcmp(&cleared, &state, sizeof state) == 0;
}

TEST(Filebuf, Seek_PositionsHaveAClearedState)
{
    StuckFile file(IN, 8);
    const std::streampos failed = file.pubseekoff(3, BEG);
    EXPECT_EQ(std::streampos(-1), failed);
    EXPECT_TRUE(isCleared(failed.state()));
    EXPECT_EQ(std::streampos(0), file.m_begin);
    EXPECT_TRUE(isCleared(file.m_begin.state()));
    const std::streampos outOfRange = file.pubseekpos(3);
    EXPECT_TRUE(isCleared(outOfRange.state()));
}

TEST(Filebuf, Seek_WithoutABuffer)
{
    ScriptedFile file(IN, 8);
    EXPECT_EQ(std::streampos(100), file.pubseekpos(3));
    EXPECT_EQ("none", file.getArea());
}

TEST(FilebufStream, Output_IsFormatted)
{
    BufferedFile file(OUT, 8);
    std::ostream stream(&file);
    stream << "level " << 42 << '\n' << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("write(level 42) write(\n) flush()", file.takeCalls());
}

TEST(FilebufStream, Output_FailuresAreBad)
{
    const OpenStorage storage;
    support::startChain(3);
    BufferedFile file(OUT, 1);
    std::ostream stream(&file);
    file.failWrite(EIO);
    stream << 'a';
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    file.failFlush();
    stream.flush();
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
}

TEST(FilebufStream, Output_FailedFlushIsBadWhateverItsResult)
{
    BufferedFile file(OUT, 8);
    std::ostream stream(&file);
    file.failFlush(-1);
    stream.flush();
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    file.failFlush(5);
    stream.flush();
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
}

TEST(FilebufStream, Output_TellAndSeek)
{
    BufferedFile file(OUT, 8);
    std::ostream stream(&file);
    EXPECT_EQ(std::streampos(100), stream.tellp());
    stream.seekp(3);
    file.answerSeek(-1, 0);
    stream.seekp(4, BEG);
    EXPECT_EQ(std::ios_base::failbit, stream.rdstate());
    EXPECT_EQ("seek(0,cur) seek(3,beg) seek(4,beg)", file.takeCalls());
}

TEST(FilebufStream, Input_FormattedAndLines)
{
    BufferedFile file(IN, 4);
    std::istream stream(&file);
    file.give("12");
    file.give("3\nab");
    file.give("c\n");
    int number = 0;
    std::string line;
    stream >> number;
    EXPECT_EQ(123, number);
    EXPECT_TRUE(std::getline(stream.ignore(), line));
    EXPECT_EQ("abc", line);
    EXPECT_FALSE(std::getline(stream, line));
    EXPECT_EQ(std::ios_base::eofbit | std::ios_base::failbit, stream.rdstate());
}

TEST(FilebufStream, Input_TellAndSeek)
{
    BufferedFile file(IN, 4);
    std::istream stream(&file);
    file.give("abcd");
    EXPECT_EQ('a', stream.get());
    file.answerSeek(0, 1);
    EXPECT_EQ(std::streampos(1), stream.tellg());
    EXPECT_EQ(END_OF_FILE, stream.get());
    stream.clear();
    stream.seekg(2);
    file.give("cd");
    EXPECT_EQ('c', stream.get());
    EXPECT_EQ("read(4) seek(-3,cur) read(4) seek(2,beg) read(4)", file.takeCalls());
}

TEST(FilebufStream, Both_WritingWaitsForASeek)
{
    BufferedFile file(IN | OUT, 4);
    std::iostream stream(&file);
    file.give("ab");
    EXPECT_EQ('a', stream.get());
    stream.put('x');
    EXPECT_EQ(std::ios_base::badbit, stream.rdstate());
    stream.clear();
    stream.seekp(0);
    stream.put('x').flush();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ("read(4) seek(0,beg) write(x) flush()", file.takeCalls());
}

} // namespace
