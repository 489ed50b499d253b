// SPDX-License-Identifier: Apache-2.0

#include <zelposix/FileStream.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/FileFixture.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::NO_SPACE;

static_assert(!std::is_copy_constructible<zel::FileStream>::value, "it owns a file");
static_assert(!std::is_copy_assignable<zel::FileStream>::value, "it owns a file");
static_assert(!std::is_move_constructible<zel::FileStream>::value, "its buffer stays in place");
static_assert(!std::is_move_assignable<zel::FileStream>::value, "its buffer stays in place");
static_assert(!std::is_copy_constructible<zel::FileBuf>::value, "it owns a file");
static_assert(!std::is_copy_assignable<zel::FileBuf>::value, "it owns a file");
static_assert(!std::is_convertible<unsigned int, zel::FileStream>::value, "explicit");
static_assert(
    std::is_same<decltype(std::declval<zel::FileStream&>().rdbuf()), zel::FileBuf*>::value,
    "no cast is needed");

class FileStream : public support::FileFixture
{};

TEST_F(FileStream, Construction_WithoutAFile)
{
    zel::FileStream file;
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
    EXPECT_FALSE(file.rdbuf()->is_open());
    EXPECT_FALSE(file << "x");
    EXPECT_EQ(ios_base::badbit, file.rdstate());
    EXPECT_EQ("", takeError());
}

TEST_F(FileStream, Construction_OpensAFile)
{
    zel::FileStream file(name(), ios_base::out);
    EXPECT_TRUE(file.is_open());
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
    file << "level " << 42 << '\n' << std::hex << 255 << ' ' << 1.5 << std::flush;
    EXPECT_EQ("level 42\nff 1.5", content());
}

TEST_F(FileStream, Construction_TakesTheSizeOfTheBuffer)
{
    zel::FileStream small(name(), ios_base::out, 1);
    small << "ab";
    EXPECT_EQ("ab", content());
    zel::FileStream other(3);
    other.open(name(), ios_base::out);
    other << "abcd";
    EXPECT_EQ("abc", content());
}

TEST_F(FileStream, Rdbuf_IsTheBufferOfTheStandardsStream)
{
    zel::FileStream file(name(), ios_base::out);
    std::ios& stream = file;
    EXPECT_TRUE(stream.rdbuf() == file.rdbuf());
    file.rdbuf()->sputn("direct", 6);
    EXPECT_TRUE(file.rdbuf()->close() == file.rdbuf());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ("direct", content());
}

TEST_F(FileStream, Destructor_WritesWhatIsPending)
{
    {
        zel::FileStream file(name(), ios_base::out);
        file << "pending";
        EXPECT_EQ("", content());
    }
    EXPECT_EQ("pending", content());
}

TEST_F(FileStream, Destructor_OfAFullDevice_Raises)
{
    auto file = std::make_unique<zel::FileStream>("/dev/full", ios_base::out);
    *file << "abc";
    EXPECT_EQ("", takeError());
    file.reset();
    EXPECT_EQ(NO_SPACE, takeError());
}

TEST_F(FileStream, Missing_SetsFailbitAndRaises)
{
    zel::FileStream file(name(), ios_base::in);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(ios_base::failbit, file.rdstate());
    EXPECT_STREQ("a binary i/o stream operation failed", ErrorStorage::reason());
    EXPECT_EQ("1 open failed: No such file or directory (errno 2)", takeError());
}

TEST_F(FileStream, Open_ClearsTheState)
{
    zel::FileStream file(name(), ios_base::in);
    file.setstate(ios_base::badbit | ios_base::eofbit);
    file.open(name(), ios_base::out);
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
    file << "after";
    file.close();
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
    EXPECT_EQ("after", content());
}

TEST_F(FileStream, Open_ThatFails_KeepsTheState)
{
    zel::FileStream file;
    file.setstate(ios_base::eofbit);
    file.open(name(), ios_base::in | ios_base::trunc);
    EXPECT_EQ(ios_base::eofbit | ios_base::failbit, file.rdstate());
    EXPECT_EQ("1 open failed: Invalid argument (errno 22)", takeError());
}

TEST_F(FileStream, Open_WhileOpen_SetsFailbitAlone)
{
    zel::FileStream file(name(), ios_base::out);
    file << "abc";
    file.open("/dev/full", ios_base::out);
    EXPECT_EQ(ios_base::failbit, file.rdstate());
    EXPECT_EQ("", takeError());
    EXPECT_TRUE(file.is_open());
    file.close();
    EXPECT_EQ("abc", content());
}

TEST_F(FileStream, Close_WithoutAFile_SetsFailbit)
{
    zel::FileStream file;
    file.close();
    EXPECT_EQ(ios_base::failbit, file.rdstate());
    EXPECT_EQ("", takeError());
}

TEST_F(FileStream, Close_ThatFails_SetsFailbitAndCloses)
{
    zel::FileStream file("/dev/full", ios_base::out);
    file << "abc";
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
    file.close();
    EXPECT_EQ(ios_base::failbit, file.rdstate());
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(NO_SPACE, takeError());
}

TEST_F(FileStream, Flush_ThatFails_SetsBadbit)
{
    zel::FileStream file("/dev/full", ios_base::out);
    file << "abc" << std::flush;
    EXPECT_EQ(ios_base::badbit, file.rdstate());
    EXPECT_EQ(NO_SPACE, takeError());
    file.rdbuf()->close();
    m_errors.clear();
}

TEST_F(FileStream, Commit_BringsAllToTheFile)
{
    zel::FileStream file(name(), ios_base::out);
    file << "abc";
    EXPECT_TRUE(file.commit());
    EXPECT_EQ("abc", content());
    EXPECT_EQ(ios_base::goodbit, file.rdstate());
}

TEST_F(FileStream, Commit_ThatFails_SetsBadbit)
{
    zel::FileStream full("/dev/full", ios_base::out);
    full << "abc";
    EXPECT_FALSE(full.commit());
    EXPECT_EQ(ios_base::badbit, full.rdstate());
    EXPECT_EQ(NO_SPACE, takeError());
    zel::FileStream none;
    EXPECT_FALSE(none.commit());
    EXPECT_EQ(ios_base::badbit, none.rdstate());
    EXPECT_EQ("", takeError());
    full.rdbuf()->close();
    m_errors.clear();
}

TEST_F(FileStream, Commit_AfterAFailure_ReturnsFalse)
{
    zel::FileStream file(name(), ios_base::out);
    file << "abc";
    file.setstate(ios_base::failbit);
    EXPECT_FALSE(file.commit());
    EXPECT_EQ("abc", content()) << "what there is, is written all the same";
    file.clear();
    EXPECT_TRUE(file.commit());
}

TEST_F(FileStream, Input_IsFormatted)
{
    give("pump 17 2.5\nnext line");
    zel::FileStream file(name(), ios_base::in, 4);
    std::string word;
    int number = 0;
    double value = 0;
    EXPECT_TRUE(file >> word >> number >> value);
    EXPECT_EQ("pump", word);
    EXPECT_EQ(17, number);
    EXPECT_EQ(2.5, value);
    EXPECT_EQ(11, file.tellg());
    EXPECT_TRUE(std::getline(file.ignore(), word));
    EXPECT_EQ("next line", word);
}

TEST_F(FileStream, Getline_UntilTheEnd)
{
    give("one\n\nthree");
    zel::FileStream file(name(), ios_base::in, 2);
    std::string told;
    for (std::string line; std::getline(file, line);)
        told += "<" + line + ">";
    EXPECT_EQ("<one><><three>", told);
    EXPECT_EQ(ios_base::eofbit | ios_base::failbit, file.rdstate());
    EXPECT_EQ("", takeError()) << "the end is no failure";
}

TEST_F(FileStream, Both_ChangeBySeek)
{
    zel::FileStream file(name(), ios_base::in | ios_base::out | ios_base::trunc, 4);
    std::string word;
    file << "alpha beta";
    EXPECT_TRUE(file.seekg(0) >> word);
    EXPECT_EQ("alpha", word);
    EXPECT_TRUE(file.seekp(6) << "B");
    EXPECT_TRUE(file.seekg(-4, ios_base::end) >> word);
    EXPECT_EQ("Beta", word);
    EXPECT_EQ("alpha Beta", content());
}

} // namespace
