// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-chain.h>

#include <cstring>
#include <pthread.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorStorage;
using support::addToChain;
using support::chainIds;
using support::OpenStorage;
using support::startChain;
using zel::copyChain;
using zel::ErrorRecord;
using zel::raiseChain;
using zel::takeChain;

/// Record `id` of the common errors, at line `id` of "pump.c".
ErrorRecord recordWith(int id, const std::string& reason = "dry")
{
    return {&std::CommonError, id, "pump.c", id, reason, {}, 0};
}

/// The ids of `chain`, as "3 2 1 ".
std::string idsOf(const std::vector<ErrorRecord>& chain)
{
    std::string ids;
    for (const ErrorRecord& record : chain)
        ids += std::to_string(record.id) + " ";
    return ids;
}

void countReport(void* data, const char*, const std::ErrorObject* error, unsigned int)
{
    *static_cast<std::string*>(data) += std::to_string(error->id()) + " ";
}

TEST(Chain, Copy_AllFields)
{
    const OpenStorage errors;
    const char* const file = "src/pump.c";
    std::ErrorOutput(file, 12, true)(std::CommonError, 5, "width");
    const std::vector<ErrorRecord> chain = copyChain();
    ASSERT_EQ(1u, chain.size());
    EXPECT_EQ(&std::CommonError, chain[0].type);
    EXPECT_EQ(5, chain[0].id);
    EXPECT_EQ(file, chain[0].file);
    EXPECT_EQ(12, chain[0].line);
    EXPECT_EQ("Invalid parameter: width", chain[0].reason);
    EXPECT_EQ(pthread_self(), chain[0].thread);
    EXPECT_EQ(getpid(), chain[0].process);
}

TEST(Chain, Copy_NewestFirstAndStillPending)
{
    const OpenStorage errors;
    startChain(1);
    addToChain(2, 3);
    EXPECT_EQ("3 2 1 ", idsOf(copyChain()));
    EXPECT_TRUE(ErrorStorage::isError(true));
    ErrorStorage::ack();
    EXPECT_EQ("3 2 1 ", idsOf(copyChain()));
}

TEST(Chain, Copy_NothingWithoutAnError)
{
    EXPECT_EQ(0u, copyChain().size());
    const OpenStorage errors;
    EXPECT_EQ(0u, copyChain().size());
}

TEST(Chain, Copy_EightOfACycle)
{
    OpenStorage errors;
    startChain(1);
    errors.m_current->m_cause = errors.m_current;
    EXPECT_EQ("1 1 1 1 1 1 1 1 ", idsOf(copyChain()));
}

TEST(Chain, Copy_ReasonsWithoutTheirTerminator)
{
    OpenStorage errors;
    startChain(1);
    errors.m_current->m_reason = errors.m_current->m_buffer;
    std::memset(errors.m_current->m_buffer, 'x', 256);
    EXPECT_EQ(std::string(256, 'x'), copyChain()[0].reason);
    errors.m_current->m_reason = nullptr;
    EXPECT_EQ("", copyChain()[0].reason);
}

TEST(Chain, Take_AcknowledgesWhatWasPending)
{
    const OpenStorage errors;
    startChain(1);
    addToChain(2);
    EXPECT_EQ("2 1 ", idsOf(takeChain()));
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_EQ("", idsOf(takeChain()));
    EXPECT_EQ("2 1", chainIds());
}

TEST(Chain, Raise_SameChainAgain)
{
    const OpenStorage errors;
    startChain(1);
    addToChain(2, 8);
    const std::string before = zel_error.getReasonList();
    const std::vector<ErrorRecord> chain = takeChain();
    raiseChain(chain);
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ("8 7 6 5 4 3 2 1", chainIds());
    EXPECT_EQ(before, zel_error.getReasonList());
    EXPECT_EQ(8, errors.m_count);
}

TEST(Chain, Raise_OnAnotherThread)
{
    const std::vector<ErrorRecord> chain = support::onAnotherThread([] {
        const OpenStorage errors;
        std::ErrorOutput("a.c", 1, true)(std::CommonError, 0);
        std::ErrorOutput("b.c", 2, false)(std::CommonError, 3, "depth");
        return takeChain();
    });
    const OpenStorage errors;
    raiseChain(chain);
    EXPECT_EQ("Error (ID 3):\n\tParameter out of range: depth\n\tLocation: b.c:2\n\twas caused by\n"
              "Error (ID 0):\n\tOut of heap memory\n\tLocation: a.c:1\n",
              zel_error.getReasonList());
    EXPECT_TRUE(ErrorStorage::isA(std::CommonError));
    EXPECT_EQ(pthread_self(), ErrorStorage::get()->m_thread);
    EXPECT_NE(pthread_self(), chain[0].thread);
}

TEST(Chain, Raise_PendingChainGoesToTheReactionOnce)
{
    std::string reported;
    OpenStorage errors(countReport);
    errors.m_data = &reported;
    startChain(4);
    raiseChain({recordWith(2), recordWith(1)});
    EXPECT_EQ("4 ", reported);
    EXPECT_EQ("2 1", chainIds());
}

TEST(Chain, Raise_NewestEightOfMore)
{
    const support::ChildResult result = support::runInChild([] {
        std::vector<ErrorRecord> chain;
        for (int id = 9; id > 0; --id)
            chain.push_back(recordWith(id));
        const OpenStorage errors;
        raiseChain(chain);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
}

TEST(Chain, Raise_NothingOfNoRecords)
{
    const OpenStorage errors;
    startChain(1);
    raiseChain({});
    EXPECT_EQ("1", chainIds());
    EXPECT_EQ(1, errors.m_count);
}

TEST(Chain, Raise_ReasonIsCutAndOfItsOwn)
{
    const OpenStorage errors;
    raiseChain({recordWith(1, std::string(255, 'x'))});
    EXPECT_EQ(std::string(255, 'x'), ErrorStorage::reason());
    raiseChain({recordWith(1, std::string(256, 'y'))});
    EXPECT_EQ(std::string(255, 'y'), ErrorStorage::reason());
    using namespace std::string_literals;
    raiseChain({recordWith(1, "a\0b"s)});
    EXPECT_STREQ("a", ErrorStorage::reason());
}

TEST(Chain, Raise_RecordsWithoutATypeAreAsserted)
{
    const support::ChildResult result = support::runInChild([] {
        const OpenStorage errors;
        startChain(4);
        raiseChain({recordWith(2), ErrorRecord(), recordWith(1), ErrorRecord()});
        EXPECT_EQ("2 1", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_NE(std::string::npos, result.err.find("Condition: \"m_type\"\n"));
}

TEST(Chain, Raise_WithoutAStorageGoesToTheFallback)
{
    const support::ChildResult result = support::runInChild([] {
        raiseChain({recordWith(2), recordWith(1)});
        EXPECT_EQ("2 1", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

} // namespace
