// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-format.h>

#include <format>
#include <string>

#include <gtest/gtest.h>
#include <zelcommon-ostream.h>

namespace {

template <typename Value>
std::string formatted(const char* pattern, const Value& value)
{
    return std::vformat(pattern, std::make_format_args(value));
}

template <typename Value>
bool refuses(const char* pattern, const Value& value)
{
    try {
        formatted(pattern, value);
        return false;
    } catch (const std::format_error&) {
        return true;
    }
}

} // namespace

#include "interop/FormattingTests.h"

namespace {

TEST(Format, PatternsAreCheckedByTheCompiler)
{
    EXPECT_EQ("...42 -7 text",
              std::format("{:.>5} {} {}", TimePoint(42), Duration(-7), String("text")));
}

TEST(Format, UUID_IntoAnArray)
{
    char text[40] = {};
    EXPECT_EQ(text + 36, std::format_to(text, "{}", SAMPLE));
    EXPECT_STREQ("123e4567-e89b-12d3-a456-426614174000", text);
}

} // namespace
