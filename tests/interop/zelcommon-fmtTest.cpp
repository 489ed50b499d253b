// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-fmt.h>

#include <iterator>
#include <string>

#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <zelcommon-ostream.h>

namespace {

template <typename Value>
std::string formatted(const char* pattern, const Value& value)
{
    return fmt::format(fmt::runtime(pattern), value);
}

template <typename Value>
bool refuses(const char* pattern, const Value& value)
{
    try {
        formatted(pattern, value);
        return false;
    } catch (const fmt::format_error&) {
        return true;
    }
}

} // namespace

#include "interop/FormattingTests.h"

namespace {

TEST(Fmt, PatternsAreCheckedByTheCompiler)
{
    EXPECT_EQ("...42 -7 text",
              fmt::format("{:.>5} {} {}", TimePoint(42), Duration(-7), String("text")));
}

TEST(Fmt, UUID_IntoAnArray)
{
    char text[40] = {};
    EXPECT_EQ(text + 36, fmt::format_to(text, "{}", SAMPLE));
    EXPECT_STREQ("123e4567-e89b-12d3-a456-426614174000", text);
}

TEST(Fmt, String_IsATextAlsoWhereRangesAreFormatted)
{
    EXPECT_EQ("text", fmt::format("{}", String("text")));
}

} // namespace
