// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-error_code.h>

#include <climits>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "../../framework/src/zelbase/constantInit.h"
#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/OpenStorage.h"

namespace {

using std::error_code;
using std::ErrorStorage;
using support::chainIds;
using support::OpenStorage;
using zel::ErrorCategory;
using zel::errorCode;

constexpr std::ErrorID TABLE[] = {
    {0, "Pump %d is dry", 1}, {1, "No pump", 0}, {2, nullptr, 0}, {3, "", 0}, {7, "Pump is hot", 0},
};
const std::ErrorType PumpError(TABLE, 5);
const std::ErrorType MotorError(TABLE, 5, PumpError);
const std::ErrorType NoTableError(nullptr, 0);
ZELCOMMON_CONSTANT_INIT const ErrorCategory PumpCategory(PumpError, "pump");
const ErrorCategory MotorCategory(MotorError, "motor");
const ErrorCategory NoTableCategory(NoTableError, "no table");

error_code pumpCode(int value)
{
    return {value, PumpCategory};
}

TEST(ErrorCategory, NameAndType)
{
    EXPECT_STREQ("pump", PumpCategory.name());
    EXPECT_EQ(&PumpError, &PumpCategory.type());
    EXPECT_TRUE(PumpCategory == PumpCategory);
    EXPECT_FALSE(PumpCategory == MotorCategory);
}

TEST(ErrorCategory, Message_OfTheRowBelowTheValue)
{
    EXPECT_EQ("Pump %d is dry", PumpCategory.message(1));
    EXPECT_EQ("No pump", PumpCategory.message(2));
    EXPECT_EQ("Pump is hot", PumpCategory.message(8));
    EXPECT_EQ("No pump", pumpCode(2).message());
}

TEST(ErrorCategory, Message_WithoutOne)
{
    EXPECT_EQ("Success", PumpCategory.message(0));
    EXPECT_EQ("<no message>", PumpCategory.message(3));
    EXPECT_EQ("<unknown>", PumpCategory.message(4));
    EXPECT_EQ("<unknown>", PumpCategory.message(5));
    EXPECT_EQ("<unknown>", PumpCategory.message(-1));
    EXPECT_EQ("<unknown>", PumpCategory.message(INT_MAX));
    EXPECT_EQ("<unknown>", PumpCategory.message(INT_MIN));
}

TEST(ErrorCategory, Message_WithoutATable)
{
    const support::ChildResult result =
        support::runInChild([] { EXPECT_EQ("<unknown>", NoTableCategory.message(1)); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_NE(std::string::npos, result.err.find("Condition: \"m_idtable\"\n"));
}

TEST(ErrorCategory, ValueOf_IsNever0)
{
    EXPECT_EQ(1, ErrorCategory::valueOf(0));
    EXPECT_EQ(8, ErrorCategory::valueOf(7));
    EXPECT_EQ(-1, ErrorCategory::valueOf(-1));
    EXPECT_EQ(INT_MIN, ErrorCategory::valueOf(INT_MIN));
    EXPECT_EQ(INT_MAX, ErrorCategory::valueOf(INT_MAX - 1));
    EXPECT_EQ(INT_MAX, ErrorCategory::valueOf(INT_MAX));
}

TEST(ErrorCategory, IdOf_Value)
{
    EXPECT_EQ(0, ErrorCategory::idOf(1));
    EXPECT_EQ(7, ErrorCategory::idOf(8));
    EXPECT_EQ(-1, ErrorCategory::idOf(-1));
    EXPECT_EQ(INT_MIN, ErrorCategory::idOf(INT_MIN));
}

TEST(ErrorCategory, NoEquivalenceButWithItself)
{
    EXPECT_FALSE(pumpCode(2) == std::errc::no_such_file_or_directory);
    EXPECT_FALSE(pumpCode(2) == error_code(2, MotorCategory));
    EXPECT_FALSE(pumpCode(2) == error_code(2, std::generic_category()));
    EXPECT_TRUE(pumpCode(2) == std::error_condition(2, PumpCategory));
    EXPECT_FALSE(pumpCode(2) == std::error_condition(1, PumpCategory));
}

TEST(ErrorCode, OfThePendingError)
{
    const OpenStorage errors;
    std::ErrorOutput("pump.c", 3, true)(PumpError, 0, 4);
    const error_code code = errorCode(PumpCategory);
    EXPECT_EQ(1, code.value());
    EXPECT_EQ(&PumpCategory, &code.category());
    EXPECT_EQ("Pump %d is dry", code.message());
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_STREQ("Pump 4 is dry", ErrorStorage::reason());
}

TEST(ErrorCode, NoneForAnotherType)
{
    const OpenStorage errors;
    std::ErrorOutput("pump.c", 3, true)(MotorError, 1);
    EXPECT_EQ(error_code(), errorCode(PumpCategory));
    EXPECT_EQ(error_code(2, MotorCategory), errorCode(MotorCategory));
    std::ErrorOutput("pump.c", 4, false)(std::CommonError, 0);
    EXPECT_EQ(error_code(), errorCode(MotorCategory));
}

TEST(ErrorCode, NoneForAnAcknowledgedOne)
{
    const OpenStorage errors;
    EXPECT_EQ(error_code(), errorCode(PumpCategory));
    std::ErrorOutput("pump.c", 3, true)(PumpError, 1);
    EXPECT_EQ(2, errorCode(PumpCategory).value());
    ErrorStorage::ack();
    EXPECT_EQ(error_code(), errorCode(PumpCategory));
}

TEST(ErrorCode, IsOfTheCallingThread)
{
    const OpenStorage errors;
    std::ErrorOutput("pump.c", 3, true)(PumpError, 1);
    EXPECT_EQ(0, support::onAnotherThread([] { return errorCode(PumpCategory).value(); }));
    EXPECT_EQ(2, errorCode(PumpCategory).value());
}

TEST(RaiseCode, RecordsTheRowAsItStands)
{
    const OpenStorage errors;
    zel::raise(PumpCategory, pumpCode(1), "pump.c", 12, true);
    EXPECT_TRUE(ErrorStorage::isError(true));
    const std::ErrorObject& error = *ErrorStorage::get();
    EXPECT_EQ(&PumpError, error.m_type);
    EXPECT_EQ(0, error.id());
    EXPECT_STREQ("Pump %d is dry", error.reason());
    EXPECT_EQ(TABLE[0].message, error.reason());
    EXPECT_STREQ("pump.c", error.m_file);
    EXPECT_EQ(12, error.m_line);
    EXPECT_EQ(pumpCode(1), errorCode(PumpCategory));
}

TEST(RaiseCode, RecordsWithoutAMessage)
{
    const OpenStorage errors;
    zel::raise(PumpCategory, pumpCode(3), "pump.c", 1, true);
    EXPECT_STREQ("<no message>", ErrorStorage::reason());
    zel::raise(PumpCategory, pumpCode(100), "pump.c", 1, true);
    EXPECT_STREQ("", ErrorStorage::reason());
    EXPECT_EQ(99, ErrorStorage::id());
    zel::raise(PumpCategory, pumpCode(-5), "pump.c", 1, true);
    EXPECT_EQ(-5, ErrorStorage::id());
    EXPECT_EQ(pumpCode(-5), errorCode(PumpCategory));
}

TEST(RaiseCode, NothingForNoError)
{
    const OpenStorage errors;
    ZEL_RAISE_CODE(PumpCategory, error_code());
    ZEL_RAISE_CODE(PumpCategory, pumpCode(0));
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_EQ(0, errors.m_count);
}

TEST(RaiseCode, AnotherCategoryIsAsserted)
{
    const support::ChildResult result = support::runInChild([] {
        const OpenStorage errors;
        zel::raise(PumpCategory, error_code(1, MotorCategory), "pump.c", 12, true);
        EXPECT_EQ(0, errors.m_count);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: pump.c:12, raise()\nCondition: \"code.category()==category\"\n"
                  "No reason given\nNo error context set\n",
              result.err);
}

TEST(RaiseCode, Macros_StartAChainOrAddToIt)
{
    const OpenStorage errors;
    support::startChain(4);
    ZEL_RAISE_CODE_ON(PumpCategory, pumpCode(2));
    const int line = __LINE__ - 1;
    EXPECT_EQ("1 4", chainIds());
    EXPECT_EQ(line, ErrorStorage::line());
    EXPECT_STREQ(__FILE__, ErrorStorage::file());
    ZEL_RAISE_CODE(PumpCategory, pumpCode(8));
    EXPECT_EQ(line + 5, ErrorStorage::line());
    EXPECT_EQ("7", chainIds());
}

} // namespace
