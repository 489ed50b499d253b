// SPDX-License-Identifier: Apache-2.0
//
// Files that fail while they are read; everything else is among the cases of the program.

#include "../src/LineReader.h"

#include <string>
#include <utility>

#include <common/IBinStreamBase.h>
#include <gtest/gtest.h>
#include <zel/report.h>

#include "RegistryBytes.h"
#include "support/OpenStorage.h"

namespace {

using deviceimport::LineReader;
using registrytest::takeChain;
using std::unicode::String;

constexpr const char* FAILED = "a binary i/o stream operation failed";

/// Gives a text, and then fails as a file does.
class FailingFile : public std::streambuf
{
public:
    explicit FailingFile(std::string text) : m_text(std::move(text)) {}

    /// How often it failed.
    int failures = 0;

protected:
    int_type underflow() override
    {
        if (eback() == nullptr) {
            setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
            if (!m_text.empty()) return traits_type::to_int_type(m_text[0]);
        }
        ++failures;
        ZEL_RAISE(std::IBinStreamBase::StreamError, 1);
        return traits_type::eof();
    }

private:
    std::string m_text;
};

/// A file that is over.
class EmptyFile : public std::streambuf
{};

TEST(LineReader, GivesTheLinesBeforeAFailure)
{
    const support::OpenStorage errors;
    FailingFile file("first\nsecond\nthi");
    LineReader reader(file);
    String line;
    ASSERT_EQ(LineReader::Result::LINE, reader.next(line));
    EXPECT_EQ("first", line.toUtf8());
    EXPECT_EQ(1, file.failures);
    EXPECT_FALSE(std::ErrorStorage::isError(true));
    ASSERT_EQ(LineReader::Result::LINE, reader.next(line));
    EXPECT_EQ("second", line.toUtf8());
    EXPECT_EQ(LineReader::Result::FAILED, reader.next(line));
    EXPECT_TRUE(std::ErrorStorage::isError(true));
    EXPECT_EQ(FAILED, takeChain());
    EXPECT_EQ(2, reader.number());
}

TEST(LineReader, Fails_WithinTheFirstLine)
{
    const support::OpenStorage errors;
    FailingFile file("a line without an end");
    LineReader reader(file);
    String line;
    EXPECT_EQ(LineReader::Result::FAILED, reader.next(line));
    EXPECT_EQ(FAILED, takeChain());
    EXPECT_EQ(0, reader.number());
}

TEST(LineReader, Fails_WithinTheMark)
{
    const support::OpenStorage errors;
    FailingFile file("\xFF\xFE");
    LineReader reader(file);
    String line;
    EXPECT_EQ(LineReader::Result::FAILED, reader.next(line));
    EXPECT_EQ(FAILED, takeChain());
    EXPECT_EQ(1, file.failures);
}

TEST(LineReader, TakesNoErrorOfALine_ForAFailure)
{
    const support::OpenStorage errors;
    EmptyFile file;
    LineReader reader(file);
    support::startChain(5);
    String line;
    EXPECT_EQ(LineReader::Result::END, reader.next(line));
    EXPECT_TRUE(std::ErrorStorage::isError(true));
    EXPECT_EQ("dry", takeChain());
}

} // namespace
