// SPDX-License-Identifier: Apache-2.0
//
// Texts, of which each allocation fails in turn, in a child: a text without its block ends it.

#include "support/AllocationTorture.h"

#include <climits>
#include <string>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/SinglePass.h"

namespace {

using std::SharedBuf;
using std::unicode::String;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::SinglePass;
using support::torture;
using support::tortureToDeath;

/// A text that is there when the runs begin.
const String s_text("ab,cd");
const String s_comma(UTF16LE, ",");

TEST(TextAllocationTorture, NewTexts)
{
    EXPECT_EQ("1 points, 0 survived", tortureToDeath([] { return rightIf(String().empty()); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String("ab,cd") == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(L"ab,cd") == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF16BE, "ab,cd") == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(97U).size() == 1); }));
}

TEST(TextAllocationTorture, NewTextsOfStandardStrings)
{
    const std::string narrow = "ab,cd";
    const std::wstring wide = L"ab,cd";
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([&] { return rightIf(String(narrow) == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([&] { return rightIf(String(wide) == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([&] { return rightIf(String(UTF16BE, narrow) == s_text); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([&] { return rightIf(String(UTF16BE, wide).size() == 1); }));
}

TEST(TextAllocationTorture, NewTextsOfACodec)
{
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF16BE).empty()); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF16BE, 0x20ACU).size() == 1); }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF16BE, L"ab,cd") == s_text); }));
    EXPECT_EQ("0 points, 0 survived",
              tortureToDeath([] { return rightIf(String(s_text.buffer(), UTF8) == s_text); }));
}

TEST(TextAllocationTorture, ConvertedTexts)
{
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF16BE, s_text) == s_text); }));
    EXPECT_EQ("0 points, 0 survived",
              tortureToDeath([] { return rightIf(String(UTF8, s_text) == s_text); }));
    EXPECT_EQ("1 points, 0 survived", tortureToDeath([] {
                  return rightIf(String(UTF16LE, s_text.buffer(), UTF8) == s_text);
              }));
}

TEST(TextAllocationTorture, CopiesAndParts)
{
    EXPECT_EQ("0 points, 0 survived", tortureToDeath([] {
                  const String copy(s_text);
                  String other = copy;
                  other = copy.substr(1, 3);
                  return rightIf(other.size() == 2 && copy.find(s_comma).position.chars == 2);
              }));
    EXPECT_EQ("1 points, 0 survived",
              tortureToDeath([] { return rightIf(s_text.substr(2, 2).empty()); }));
}

TEST(TextAllocationTorture, Sums)
{
    EXPECT_EQ("2 points, 0 survived",
              tortureToDeath([] { return rightIf(s_text + s_comma == String("ab,cd,")); }));
    EXPECT_EQ("2 points, 0 survived",
              tortureToDeath([] { return rightIf(s_comma * 3 == String(",,,")); }));
}

TEST(TextAllocationTorture, SplitAndJoin)
{
    const std::vector<String> pieces(3, s_text);
    EXPECT_EQ("0 points, 0 survived", tortureToDeath([] {
                  unsigned int count = 0;
                  for (const String& piece : s_text.split(s_comma))
                      count += piece.size();
                  return rightIf(count == 4);
              }));
    EXPECT_EQ("2 points, 0 survived", tortureToDeath([&] {
                  return rightIf(s_comma.join(pieces.begin(), pieces.end()) ==
                                 String("ab,cd,ab,cd,ab,cd"));
              }));
}

// A block that grows is given back when there is none for the larger one: the text dies then.
TEST(TextAllocationTorture, JoinOfASinglePass)
{
    EXPECT_EQ("10 points, 0 survived", tortureToDeath([] {
                  const String text = s_comma.join(SinglePass{&s_text}, SinglePass{&s_text, 100});
                  return rightIf(text.size() == 599);
              }));
}

TEST(TextAllocationTorture, Replace)
{
    EXPECT_EQ("2 points, 0 survived", tortureToDeath([] {
                  return rightIf(s_text.replace(s_comma, s_text) == String("abab,cdcd"));
              }));
}

TEST(TextAllocationTorture, ToStandardStrings)
{
    const std::string longText(100, 'x');
    const String text(UTF16LE, longText);
    EXPECT_EQ("1 points", torture([&] {
                  const std::string narrow = text.toUtf8();
                  return rightOrRefused(narrow == longText, narrow.empty());
              }));
    EXPECT_EQ("1 points", torture([&] {
                  const std::wstring wide = text.toWide();
                  return rightOrRefused(wide.size() == 100 && wide[99] == L'x', wide.empty());
              }));
}

TEST(TextAllocationTorture, SharedBlocks)
{
    EXPECT_EQ("1 points", torture([] {
                  SharedBuf block(5);
                  const bool isNull = block.data == nullptr;
                  const bool isWhole = block.length() == 5;
                  block.unref();
                  return rightOrRefused(isWhole, isNull);
              }));
    const unsigned char bytes[] = {'a', 'b'};
    EXPECT_EQ("1 points", torture([&] {
                  SharedBuf block = UTF8.to(UTF16LE, bytes, 2, UINT_MAX);
                  const bool isNull = block.data == nullptr;
                  const bool isWhole = block.length() == 4;
                  block.unref();
                  return rightOrRefused(isWhole, isNull);
              }));
}

} // namespace
