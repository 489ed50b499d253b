// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorObject.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <pthread.h>

#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"

namespace {

using std::CommonCriticalError;
using std::CommonError;
using std::ErrorObject;
using std::ErrorType;

constexpr std::ErrorID TABLE[] = {{0, "No pump", 0}};
const ErrorType s_pumpError(TABLE, 1, CommonError);

/// An object with a value in each field, caused by `cause` and with a reason outside of it.
std::unique_ptr<ErrorObject> filled(const ErrorObject& cause)
{
    auto error = std::make_unique<ErrorObject>();
    error->m_type = &CommonError;
    error->m_id = 5;
    error->m_file = "pump.c";
    error->m_line = 12;
    error->m_reason = "dry";
    error->m_thread = pthread_self();
    error->m_process = 4711;
    error->m_cause = &cause;
    return error;
}

std::string copiedReason(const std::string& reason)
{
    ErrorObject source;
    source.m_reason = reason.c_str();
    const ErrorObject copy(source);
    return copy.m_reason;
}

TEST(ErrorObject, IsEmptyAtFirst)
{
    const ErrorObject error;
    EXPECT_EQ(nullptr, error.m_type);
    EXPECT_EQ(0, error.m_id);
    EXPECT_EQ(nullptr, error.m_file);
    EXPECT_EQ(0, error.m_line);
    EXPECT_EQ(error.m_buffer, error.m_reason);
    EXPECT_STREQ("", error.m_reason);
    EXPECT_EQ(pthread_t(), error.m_thread);
    EXPECT_EQ(0, error.m_process);
    EXPECT_EQ(nullptr, error.m_cause);
}

TEST(ErrorObject, IsEmptyAtFirst_InUsedMemory)
{
    alignas(ErrorObject) unsigned char memory[sizeof(ErrorObject)];
    memset(memory, 0xFF, sizeof memory);
    const ErrorObject& error = *new (memory) ErrorObject;
    const char zeros[ErrorObject::REASON_SIZE] = {};
    EXPECT_EQ(0, memcmp(zeros, error.m_buffer, sizeof zeros));
    EXPECT_EQ(nullptr, error.m_type);
    EXPECT_EQ(nullptr, error.m_cause);
    EXPECT_EQ(0, error.m_process);
}

TEST(ErrorObject, Accessors)
{
    const ErrorObject cause;
    const auto error = filled(cause);
    EXPECT_EQ(5, error->id());
    EXPECT_EQ(error->m_reason, error->reason());
}

TEST(ErrorObject, Copy_TakesTheFieldsAndNoCause)
{
    const ErrorObject cause;
    const ErrorObject copy(*filled(cause));
    EXPECT_EQ(&CommonError, copy.m_type);
    EXPECT_EQ(5, copy.m_id);
    EXPECT_STREQ("pump.c", copy.m_file);
    EXPECT_EQ(12, copy.m_line);
    EXPECT_EQ(pthread_self(), copy.m_thread);
    EXPECT_EQ(4711, copy.m_process);
    EXPECT_EQ(nullptr, copy.m_cause);
}

TEST(ErrorObject, Assignment_TakesTheFieldsAndNoCause)
{
    const ErrorObject cause;
    const auto copy = filled(cause);
    copy->m_id = 1;
    EXPECT_EQ(copy.get(), &(*copy = *filled(cause)));
    EXPECT_EQ(&CommonError, copy->m_type);
    EXPECT_EQ(5, copy->m_id);
    EXPECT_STREQ("pump.c", copy->m_file);
    EXPECT_EQ(12, copy->m_line);
    EXPECT_EQ(pthread_self(), copy->m_thread);
    EXPECT_EQ(4711, copy->m_process);
    EXPECT_EQ(nullptr, copy->m_cause);
}

TEST(ErrorObject, Assignment_EmptyObject)
{
    const ErrorObject cause;
    const auto copy = filled(cause);
    *copy = ErrorObject();
    EXPECT_EQ(nullptr, copy->m_type);
    EXPECT_EQ(0, copy->m_id);
    EXPECT_EQ(nullptr, copy->m_file);
    EXPECT_EQ(0, copy->m_line);
    EXPECT_STREQ("", copy->m_reason);
    EXPECT_EQ(pthread_t(), copy->m_thread);
    EXPECT_EQ(0, copy->m_process);
    EXPECT_EQ(nullptr, copy->m_cause);
}

TEST(ErrorObject, Copy_OwnsItsReason)
{
    const ErrorObject cause;
    const auto source = filled(cause);
    const ErrorObject copy(*source);
    ErrorObject assigned;
    assigned = *source;
    EXPECT_EQ(copy.m_buffer, copy.m_reason);
    EXPECT_STREQ("dry", copy.m_buffer);
    EXPECT_EQ(assigned.m_buffer, assigned.m_reason);
    EXPECT_STREQ("dry", assigned.m_buffer);
}

TEST(ErrorObject, Copy_OutlivesASourceWithItsReasonInside)
{
    auto source = std::make_unique<ErrorObject>();
    strcpy(source->m_buffer, "dry");
    const ErrorObject copy(*source);
    source->m_buffer[0] = 'x';
    source.reset();
    EXPECT_STREQ("dry", copy.reason());
}

TEST(ErrorObject, Copy_ReasonOf254Characters)
{
    EXPECT_EQ(std::string(253, 'a') + "z", copiedReason(std::string(253, 'a') + "z"));
}

TEST(ErrorObject, Copy_ReasonOf255Characters)
{
    EXPECT_EQ(std::string(254, 'a') + "z", copiedReason(std::string(254, 'a') + "z"));
}

TEST(ErrorObject, Copy_ReasonOf256CharactersIsCutTo255)
{
    EXPECT_EQ(std::string(255, 'a'), copiedReason(std::string(255, 'a') + "z"));
}

TEST(ErrorObject, Copy_ReasonOf300CharactersIsCutTo255)
{
    EXPECT_EQ(std::string(254, 'a') + "b",
              copiedReason(std::string(254, 'a') + "b" + std::string(45, 'c')));
}

TEST(ErrorObject, Assignment_ReasonOf300CharactersIsCutTo255)
{
    const std::string reason(300, 'a');
    ErrorObject source;
    source.m_reason = reason.c_str();
    ErrorObject copy;
    memset(copy.m_buffer, 'x', sizeof copy.m_buffer);
    copy = source;
    EXPECT_EQ(std::string(255, 'a'), copy.m_reason);
}

TEST(ErrorObject, Copy_UnterminatedBufferIsCutTo255)
{
    const auto source = std::make_unique<ErrorObject>();
    memset(source->m_buffer, 'x', sizeof source->m_buffer);
    const ErrorObject copy(*source);
    EXPECT_EQ(std::string(255, 'x'), copy.m_reason);
}

TEST(ErrorObject, Copy_UnterminatedReasonElsewhereIsNotReadPast256)
{
    const auto reason = std::make_unique<char[]>(256);
    memset(reason.get(), 'x', 256);
    ErrorObject source;
    source.m_reason = reason.get();
    const ErrorObject copy(source);
    EXPECT_EQ(std::string(255, 'x'), copy.m_reason);
}

TEST(ErrorObject, Assignment_ShorterReasonReplacesALongerOne)
{
    ErrorObject copy;
    strcpy(copy.m_buffer, "a longer reason");
    ErrorObject source;
    strcpy(source.m_buffer, "dry");
    copy = source;
    EXPECT_STREQ("dry", copy.m_reason);
}

TEST(ErrorObject, Assignment_ReasonInsideTheTarget)
{
    ErrorObject copy;
    strcpy(copy.m_buffer, "0123456789");
    ErrorObject source;
    source.m_reason = copy.m_buffer + 2;
    copy = source;
    EXPECT_EQ(copy.m_buffer, copy.m_reason);
    EXPECT_STREQ("23456789", copy.m_reason);
}

TEST(ErrorObject, Copy_NullReasonBecomesEmpty)
{
    ErrorObject source;
    source.m_reason = nullptr;
    const ErrorObject copy(source);
    EXPECT_EQ(copy.m_buffer, copy.m_reason);
    EXPECT_STREQ("", copy.m_reason);
}

TEST(ErrorObject, Assignment_ToItselfChangesNothing)
{
    const ErrorObject cause;
    const auto error = filled(cause);
    const ErrorObject& same = *error;
    *error = same;
    EXPECT_EQ(&CommonError, error->m_type);
    EXPECT_EQ(5, error->m_id);
    EXPECT_STREQ("dry", error->m_reason);
    EXPECT_NE(error->m_buffer, error->m_reason);
    EXPECT_EQ(&cause, error->m_cause);
}

TEST(ErrorObject, IsA_TypeAndItsAncestors)
{
    ErrorObject error;
    error.m_type = &s_pumpError;
    EXPECT_TRUE(error.isA(s_pumpError));
    EXPECT_TRUE(error.isA(CommonError));
    EXPECT_FALSE(error.isA(CommonCriticalError));
    error.m_type = &CommonError;
    EXPECT_FALSE(error.isA(s_pumpError));
}

TEST(ErrorObject, Equals_TypeItselfOnly)
{
    ErrorObject error;
    error.m_type = &s_pumpError;
    EXPECT_TRUE(error.equals(s_pumpError));
    EXPECT_FALSE(error.equals(CommonError));
    EXPECT_FALSE(error.equals(CommonCriticalError));
}

void printAssertion(const char* condition, const char* location, const char* reason)
{
    printf("%s|%s|%s\n", condition, location, reason);
}

TEST(ErrorObject, IsA_WithoutAType)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(printAssertion);
        EXPECT_FALSE(ErrorObject().isA(CommonError));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_type|framework/src/common/error/ErrorObject:67, isA()|\n", result.out);
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/error/ErrorObject:67, isA()\n"
                  "Condition: \"m_type\"\nNo reason given\nNo error context set\n",
              result.err);
}

TEST(ErrorObject, Equals_WithoutAType)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::atAssert(printAssertion);
        EXPECT_FALSE(ErrorObject().equals(CommonError));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_type|framework/src/common/error/ErrorObject:74, equals()|\n", result.out);
    EXPECT_EQ(support::reportTitle("Assert failed", result) +
                  "Location: src/common/error/ErrorObject:74, equals()\n"
                  "Condition: \"m_type\"\nNo reason given\nNo error context set\n",
              result.err);
}

#ifdef __LP64__
TEST(ErrorObject, Layout)
{
    EXPECT_EQ(8U, offsetof(ErrorObject, m_id));
    EXPECT_EQ(16U, offsetof(ErrorObject, m_file));
    EXPECT_EQ(24U, offsetof(ErrorObject, m_line));
    EXPECT_EQ(32U, offsetof(ErrorObject, m_reason));
    EXPECT_EQ(40U, offsetof(ErrorObject, m_buffer));
    EXPECT_EQ(296U, offsetof(ErrorObject, m_thread));
    EXPECT_EQ(304U, offsetof(ErrorObject, m_process));
    EXPECT_EQ(312U, offsetof(ErrorObject, m_cause));
    EXPECT_EQ(320U, sizeof(ErrorObject));
}
#else
TEST(ErrorObject, Layout)
{
    EXPECT_EQ(4U, offsetof(ErrorObject, m_id));
    EXPECT_EQ(8U, offsetof(ErrorObject, m_file));
    EXPECT_EQ(12U, offsetof(ErrorObject, m_line));
    EXPECT_EQ(16U, offsetof(ErrorObject, m_reason));
    EXPECT_EQ(20U, offsetof(ErrorObject, m_buffer));
    EXPECT_EQ(276U, offsetof(ErrorObject, m_thread));
    EXPECT_EQ(280U, offsetof(ErrorObject, m_process));
    EXPECT_EQ(284U, offsetof(ErrorObject, m_cause));
    EXPECT_EQ(288U, sizeof(ErrorObject));
}
#endif

TEST(ErrorObject, Layout_TypeComesFirst)
{
    EXPECT_EQ(0U, offsetof(ErrorObject, m_type));
    EXPECT_EQ(256U, sizeof(ErrorObject::m_buffer));
}

TEST(ErrorObject, Assign_ShortReasonOverAFullBuffer_EndsTheBufferToo)
{
    std::ErrorObject full;
    std::memset(full.m_buffer, 'y', sizeof full.m_buffer);
    std::ErrorObject brief;
    brief.m_reason = "dry";
    full = brief;
    EXPECT_STREQ("dry", full.m_reason);
    EXPECT_EQ('\0', full.m_buffer[255]);
}

} // namespace
