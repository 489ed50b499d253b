// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorType.h>

#include <climits>
#include <cstddef>
#include <cstdio>

#include <gtest/gtest.h>

#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"

namespace {

using std::CommonCriticalError;
using std::CommonError;
using std::ErrorID;
using std::ErrorType;

constexpr ErrorID ORDERED_TABLE[] = {{0, "Pump %d is dry", 1}, {1, "No pump", 0}};
constexpr ErrorID SPARSE_TABLE[] = {{10, "ten", 1}, {20, "twenty", 2}, {30, "thirty", 3}};

// The child comes first: only the address of its parent is kept.
extern const ErrorType s_parent;
const ErrorType s_child(ORDERED_TABLE, 2, s_parent);
const ErrorType s_grandchild(ORDERED_TABLE, 2, s_child);
const ErrorType s_parent(ORDERED_TABLE, 2);

const int s_countAtLoad = CommonError.getArgumentCount(2);

#define EXPECT_ROW(message, argCount, type, id)                                                    \
    EXPECT_STREQ(message, (type).getMessageString(id));                                            \
    EXPECT_EQ(argCount, (type).getArgumentCount(id))

TEST(CommonError, Rows)
{
    EXPECT_ROW("Out of heap memory", 0, CommonError, 0);
    EXPECT_ROW("Invalid usage/logic detected: %s", 1, CommonError, 1);
    EXPECT_ROW("Integer parameter out of range. Min = %d, Max = %d, Found = %d", 3, CommonError, 2);
    EXPECT_ROW("Parameter out of range: %s", 1, CommonError, 3);
    EXPECT_ROW("Invalid path specified: %s", 1, CommonError, 4);
    EXPECT_ROW("Invalid parameter: %s", 1, CommonError, 5);
    EXPECT_ROW("Function not supported: %s", 1, CommonError, 6);
    EXPECT_ROW("Overflow of item count occured: %s", 1, CommonError, 7);
    EXPECT_ROW("", 0, CommonError, 8);
}

TEST(CommonCriticalError, Rows)
{
    EXPECT_ROW("Critical error %s", 1, CommonCriticalError, 0);
    EXPECT_ROW("", 0, CommonCriticalError, 1);
}

TEST(CommandLineError, Rows)
{
    EXPECT_ROW("%s", 1, TCLAP::Error, 0);
    EXPECT_ROW("%s", 1, TCLAP::Error, 1);
    EXPECT_ROW("%s", 1, TCLAP::Error, 2);
    EXPECT_ROW("", 0, TCLAP::Error, 3);
}

TEST(CommonError, IsUsable_InAnInitialiserOfTheProgram)
{
    EXPECT_EQ(3, s_countAtLoad);
}

TEST(ErrorType, LibraryTypesAreUnrelated)
{
    EXPECT_TRUE(CommonError.isA(CommonError));
    EXPECT_FALSE(CommonError.isA(CommonCriticalError));
    EXPECT_FALSE(CommonError.isA(TCLAP::Error));
    EXPECT_FALSE(CommonCriticalError.isA(CommonError));
    EXPECT_FALSE(CommonCriticalError.isA(TCLAP::Error));
    EXPECT_FALSE(TCLAP::Error.isA(CommonError));
    EXPECT_FALSE(TCLAP::Error.isA(CommonCriticalError));
}

TEST(ErrorType, IsA_ItselfAndItsAncestors)
{
    EXPECT_TRUE(s_grandchild.isA(s_grandchild));
    EXPECT_TRUE(s_grandchild.isA(s_child));
    EXPECT_TRUE(s_grandchild.isA(s_parent));
    EXPECT_TRUE(s_child.isA(s_parent));
}

TEST(ErrorType, IsA_NotADescendant)
{
    EXPECT_FALSE(s_parent.isA(s_grandchild));
    EXPECT_FALSE(s_parent.isA(s_child));
    EXPECT_FALSE(s_child.isA(s_grandchild));
}

TEST(ErrorType, IsA_NotASibling)
{
    const ErrorType sibling(ORDERED_TABLE, 2, s_parent);
    EXPECT_FALSE(s_child.isA(sibling));
    EXPECT_FALSE(sibling.isA(s_child));
}

TEST(ErrorType, IsA_ComparesAddressesNotTables)
{
    const ErrorType twin(ORDERED_TABLE, 2);
    EXPECT_FALSE(twin.isA(s_parent));
    EXPECT_FALSE(s_child.isA(twin));
}

TEST(ErrorType, LookUp_RowsAtTheirIndex)
{
    const ErrorType type(ORDERED_TABLE, 2);
    EXPECT_ROW("Pump %d is dry", 1, type, 0);
    EXPECT_ROW("No pump", 0, type, 1);
    EXPECT_ROW("", 0, type, 2);
}

TEST(ErrorType, LookUp_GivesTheTablesOwnText)
{
    const ErrorType type(ORDERED_TABLE, 2);
    EXPECT_EQ(ORDERED_TABLE[1].message, type.getMessageString(1));
}

TEST(ErrorType, LookUp_SparseTable)
{
    const ErrorType type(SPARSE_TABLE, 3);
    EXPECT_ROW("ten", 1, type, 10);
    EXPECT_ROW("twenty", 2, type, 20);
    EXPECT_ROW("thirty", 3, type, 30);
    EXPECT_ROW("", 0, type, 0);
    EXPECT_ROW("", 0, type, 25);
}

TEST(ErrorType, LookUp_RowsOutOfOrder)
{
    static constexpr ErrorID TABLE[] = {{1, "one", 1}, {2, "two", 2}, {0, "zero", 3}};
    const ErrorType type(TABLE, 3);
    EXPECT_ROW("zero", 3, type, 0);
    EXPECT_ROW("one", 1, type, 1);
    EXPECT_ROW("two", 2, type, 2);
}

TEST(ErrorType, LookUp_RowAtItsIndexWinsOverAnEarlierOne)
{
    static constexpr ErrorID TABLE[] = {{1, "earlier", 2}, {1, "at its index", 3}};
    const ErrorType type(TABLE, 2);
    EXPECT_ROW("at its index", 3, type, 1);
}

TEST(ErrorType, LookUp_FirstOfTwoEqualRowsWins)
{
    static constexpr ErrorID TABLE[] = {{7, "first", 1}, {7, "second", 2}};
    const ErrorType type(TABLE, 2);
    EXPECT_ROW("first", 1, type, 7);
}

TEST(ErrorType, LookUp_RowsBeyondTheCountAreNotLookedAt)
{
    const ErrorType ordered(ORDERED_TABLE, 1);
    EXPECT_ROW("Pump %d is dry", 1, ordered, 0);
    EXPECT_ROW("", 0, ordered, 1);
    const ErrorType sparse(SPARSE_TABLE, 2);
    EXPECT_ROW("twenty", 2, sparse, 20);
    EXPECT_ROW("", 0, sparse, 30);
}

TEST(ErrorType, LookUp_EmptyTable)
{
    const ErrorType type(ORDERED_TABLE, 0);
    EXPECT_ROW("", 0, type, 0);
    EXPECT_ROW("", 0, type, 1);
}

TEST(ErrorType, LookUp_ParentsRowsAreNotInherited)
{
    const ErrorType type(SPARSE_TABLE, 3, s_parent);
    EXPECT_ROW("", 0, type, 1);
}

TEST(ErrorType, LookUp_NegativeIdHasNoRow)
{
    static constexpr ErrorID ROWS[] = {{-1, "before the table", 9}, {0, "zero", 1}};
    const ErrorType behind(ROWS + 1, 1);
    EXPECT_ROW("", 0, behind, -1);
    EXPECT_ROW("", 0, behind, INT_MIN);
    const ErrorType whole(ROWS, 2);
    EXPECT_ROW("", 0, whole, -1);
    EXPECT_ROW("zero", 1, whole, 0);
}

TEST(ErrorType, LookUp_UnknownIdIsNotReported)
{
    const support::ChildResult result = support::runInChild([] {
        EXPECT_ROW("", 0, CommonError, INT_MAX);
        EXPECT_ROW("", 0, CommonError, INT_MIN);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

void printAssertion(const char* condition, const char* location, const char* reason)
{
    printf("%s|%s|%s\n", condition, location, reason);
}

TEST(ErrorType, GetMessageString_NullTable)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(printAssertion);
        const ErrorType type(nullptr, 0);
        EXPECT_STREQ("", type.getMessageString(0));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_idtable|framework/src/common/error/ErrorType:46, getMessageString()|\n",
              result.out);
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/error/ErrorType:46, getMessageString()\n"
                  "Condition: \"m_idtable\"\nNo reason given\nNo error context set\n",
              result.err);
}

TEST(ErrorType, GetArgumentCount_NullTable)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(printAssertion);
        const ErrorType type(nullptr, 0);
        EXPECT_EQ(0, type.getArgumentCount(0));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_idtable|framework/src/common/error/ErrorType:64, getArgumentCount()|\n",
              result.out);
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/error/ErrorType:64, getArgumentCount()\n"
                  "Condition: \"m_idtable\"\nNo reason given\nNo error context set\n",
              result.err);
}

TEST(ErrorType, NullTableWithRows_IsNotRead)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(printAssertion);
        const ErrorType type(nullptr, 3);
        EXPECT_ROW("", 0, type, 0);
        EXPECT_ROW("", 0, type, 7);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_idtable|framework/src/common/error/ErrorType:46, getMessageString()|\n"
              "m_idtable|framework/src/common/error/ErrorType:64, getArgumentCount()|\n"
              "m_idtable|framework/src/common/error/ErrorType:46, getMessageString()|\n"
              "m_idtable|framework/src/common/error/ErrorType:64, getArgumentCount()|\n",
              result.out);
}

TEST(ErrorType, NullTable_IsAStillWorks)
{
    const support::ChildResult result = support::runInChild([] {
        const ErrorType type(nullptr, 0, s_parent);
        EXPECT_TRUE(type.isA(s_parent));
        EXPECT_FALSE(type.isA(s_child));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorType, Layout)
{
    EXPECT_EQ(0U, offsetof(ErrorID, id));
    EXPECT_EQ(sizeof(void*), offsetof(ErrorID, message));
    EXPECT_EQ(2 * sizeof(void*), offsetof(ErrorID, argCount));
    EXPECT_EQ(3 * sizeof(void*), sizeof(ErrorID));
    EXPECT_EQ(3 * sizeof(void*), sizeof(ErrorType));
}

} // namespace
