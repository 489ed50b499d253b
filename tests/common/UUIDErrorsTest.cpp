// SPDX-License-Identifier: Apache-2.0
//
// The error that a malformed text raises.

#include <common/UUID.h>

#include <iterator>
#include <thread>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using std::UUID;
using support::OpenStorage;

constexpr const char* SAMPLE = "123e4567-e89b-12d3-a456-426614174000";
constexpr const char* BEFORE = "00112233-4455-6677-8899-aabbccddeeff";

UUID before()
{
    return UUID(0x00112233, 0x4455, 0x6677, 0x8899, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF);
}

TEST(UUIDErrors, OneRowWithoutValues)
{
    EXPECT_EQ(0, UUID::ERROR_TABLE[0].id);
    EXPECT_STREQ("Syntax error UUID", UUID::ERROR_TABLE[0].message);
    EXPECT_EQ(0, UUID::ERROR_TABLE[0].argCount);
    EXPECT_EQ(1u, std::size(UUID::ERROR_TABLE));
    EXPECT_STREQ("Syntax error UUID", UUID::Error.getMessageString(0));
    EXPECT_STREQ("", UUID::Error.getMessageString(1));
    EXPECT_FALSE(UUID::Error.isA(std::CommonError));
    EXPECT_FALSE(UUID::Error.isA(std::CommonCriticalError));
}

TEST(UUIDErrors, NamesItsPlace)
{
    const OpenStorage errors;
    const UUID invalid("1");
    EXPECT_STREQ("framework/include/common/UUID", ErrorStorage::file());
    EXPECT_EQ(196, ErrorStorage::line());
    UUID id;
    id.parse("2");
    EXPECT_STREQ("framework/include/common/UUID", ErrorStorage::file());
    EXPECT_EQ(196, ErrorStorage::line());
}

TEST(UUIDErrors, StartsAChainOfItsOwn)
{
    int unhandled = 0;
    OpenStorage errors([](void* data, const char*, const std::ErrorObject* error, unsigned int) {
        *static_cast<int*>(data) += error->id();
    });
    errors.m_data = &unhandled;
    support::startChain(5);
    UUID id;
    id.parse("1");
    EXPECT_EQ(5, unhandled);
    EXPECT_EQ("0", support::chainIds());
    EXPECT_EQ(1, errors.m_count);
    EXPECT_EQ(UUID::ERROR_TABLE[0].message, ErrorStorage::reason());
}

TEST(UUIDErrors, SuccessLeavesThePendingOne)
{
    const OpenStorage errors;
    support::startChain(5);
    UUID id(SAMPLE);
    id.parse("");
    EXPECT_EQ("5", support::chainIds());
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(UUIDErrors, OnAThreadWithoutAStorageIsNotLost)
{
    const support::ChildResult result = support::runInChild([] {
        UUID id = before();
        id.parse("1");
        EXPECT_TRUE(id.isInvalid());
        EXPECT_EQ(BEFORE, id.toString());
        EXPECT_TRUE(ErrorStorage::equals(UUID::Error));
        EXPECT_STREQ("Syntax error UUID", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_NE("", result.err);
}

TEST(UUIDErrors, IsTheCallingThreadsOwn)
{
    const OpenStorage errors;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            const OpenStorage own;
            const UUID invalid("1");
            EXPECT_EQ(1, own.m_count);
            EXPECT_EQ(SAMPLE, UUID(SAMPLE).toString());
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, errors.m_count);
}

} // namespace
