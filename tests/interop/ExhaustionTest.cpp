// SPDX-License-Identifier: Apache-2.0

// What the headers for other libraries do when an allocation fails.

#include <zelcommon-chain.h>
#include <zelcommon-error_code.h>

#include <new>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>
#include <zel/formatting.h>

#include "support/FailingMalloc.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using support::addToChain;
using support::attemptsOf;
using support::chainIds;
using support::OpenStorage;
using support::startChain;
using zel::ErrorRecord;

/// Whether `take` throws `bad_alloc` when the attempt to allocate after `passing` ones fails.
template <typename Take>
bool isOutOfMemory(int passing, Take take)
{
    const support::FailingMalloc exhausted(passing, 1);
    try {
        take();
        return false;
    } catch (const std::bad_alloc&) {
        return true;
    }
}

void recordLong(bool raise, int id)
{
    std::ErrorOutput("pump.c", id, raise)(std::CommonError, 5, "width of the second pump");
}

TEST(ChainExhaustion, Take_ChainStaysPending)
{
    const OpenStorage errors;
    recordLong(true, 1);
    recordLong(false, 2);
    const int held = support::heldBlocks();
    EXPECT_TRUE(isOutOfMemory(0, zel::takeChain)); // the records
    EXPECT_TRUE(isOutOfMemory(1, zel::takeChain)); // a reason
    EXPECT_TRUE(isOutOfMemory(2, zel::takeChain));
    EXPECT_EQ(held, support::heldBlocks());
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ("5 5", chainIds());
    EXPECT_EQ(2, errors.m_count);
    EXPECT_FALSE(isOutOfMemory(3, zel::takeChain));
    EXPECT_FALSE(ErrorStorage::isError(true));
}

TEST(ChainExhaustion, Copy_ThrowsWhateverFails)
{
    const OpenStorage errors;
    recordLong(true, 1);
    EXPECT_TRUE(isOutOfMemory(0, zel::copyChain));
    EXPECT_TRUE(isOutOfMemory(1, zel::copyChain));
    EXPECT_FALSE(isOutOfMemory(2, zel::copyChain));
}

TEST(ChainExhaustion, NothingPendingTakesNoMemory)
{
    const OpenStorage errors;
    EXPECT_EQ(0, attemptsOf([] { zel::takeChain(); }));
    EXPECT_EQ(0, attemptsOf([] { zel::copyChain(); }));
}

TEST(FormattingExhaustion, UUID_TakesNoMemory)
{
    const std::UUID id("123e4567-e89b-12d3-a456-426614174000");
    EXPECT_EQ(0, attemptsOf([&id] { zel::formattedText(id); }));
}

TEST(FormattingExhaustion, String_IsEmpty)
{
    const std::unicode::String text("more than a string holds without memory");
    const support::FailingMalloc exhausted;
    EXPECT_EQ("", zel::formattedText(text));
    EXPECT_LT(0, exhausted.calls());
}

TEST(FormattingExhaustion, ErrorObject_Throws)
{
    EXPECT_TRUE(isOutOfMemory(0, [] { zel::formattedText(std::ErrorObject()); }));
    EXPECT_FALSE(isOutOfMemory(9, [] { zel::formattedText(std::ErrorObject()); }));
}

TEST(ErrorCodeExhaustion, CodesTakeNoMemoryAndTheirTextsThrow)
{
    const OpenStorage errors;
    const zel::ErrorCategory category(std::CommonError, "common");
    EXPECT_EQ(0, attemptsOf([&category] {
                  zel::raise(category, std::error_code(3, category), "pump.c", 1, true);
                  zel::errorCode(category);
              }));
    EXPECT_TRUE(isOutOfMemory(0, [&category] { zel::errorCode(category).message(); }));
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ChainExhaustion, Raise_TakesNoMemory)
{
    const OpenStorage errors;
    startChain(1);
    addToChain(2, 8);
    const std::vector<ErrorRecord> chain = zel::takeChain();
    EXPECT_EQ(0, attemptsOf([&chain] { zel::raiseChain(chain); }));
    EXPECT_EQ("8 7 6 5 4 3 2 1", chainIds());
}

} // namespace
