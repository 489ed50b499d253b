// SPDX-License-Identifier: Apache-2.0
//
// Errors, of which each allocation fails in turn. What prints does so in a child.

#include "support/AllocationTorture.h"

#include <cstring>
#include <new>
#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/OpenStorage.h"

namespace {

using std::CommonError;
using std::ErrorOutput;
using std::ErrorStorage;
using std::GlobalErrorHandler;
using support::chainIds;
using support::OpenStorage;
using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::torture;
using support::tortureInChild;

ErrorOutput s_start("pump.cpp", 7, true);
ErrorOutput s_on("pump.cpp", 7, false);

/// Whether the newest error has that reason.
bool isReason(const char* reason)
{
    return std::strcmp(ErrorStorage::reason(), reason) == 0;
}

/// Returns how many blocks there are but those of threads that have ended, which the C library may
/// keep until the next one.
int heldWithoutThreads()
{
    std::thread([] {}).join();
    return support::heldBlocks();
}

/// Raises with `raise` in a thread that has no storage yet, of which `count` attempts fail from
/// `point` on, then without failures. Returns what became of the first and of the second time, and
/// how many blocks stay: a storage that the thread is given is never freed.
template <typename Raise>
std::string raiseInNewThread(const Raise& raise, int point, int count)
{
    bool isFirst = false;
    bool isSecond = false;
    const int heldBefore = heldWithoutThreads();
    std::thread([&] {
        {
            const support::FailingMalloc failing(point - 1, count);
            raise();
        }
        isFirst = ErrorStorage::isError(true) && isReason("Invalid parameter: width");
        raise();
        isSecond = ErrorStorage::isError(true) && isReason("Invalid parameter: width");
        ErrorStorage::ack();
    }).join();
    const int kept = heldWithoutThreads() - heldBefore;
    return std::string(isFirst ? "there, " : "nowhere, ") + (isSecond ? "there, " : "nowhere, ") +
           std::to_string(kept);
}

/// Does that with each kind of failure. The first thread has the fallback storage made.
template <typename Raise>
void tortureNewThreads(const Raise& raise)
{
    raiseInNewThread(raise, 1, 1);
    raiseInNewThread(raise, 1, 0);
    EXPECT_EQ("there, there, 1", raiseInNewThread(raise, 1, 0));
    EXPECT_EQ("nowhere, there, 1", raiseInNewThread(raise, 1, 1));
    EXPECT_EQ("nowhere, there, 1", raiseInNewThread(raise, 1, support::ALL_FROM_THEN_ON));
    EXPECT_EQ("there, there, 1", raiseInNewThread(raise, 2, support::ALL_FROM_THEN_ON));
}

TEST(ErrorsAllocationTorture, RaiseWithoutStorage)
{
    const support::ChildResult child =
        support::runInChild([] { tortureNewThreads([] { s_start(CommonError, 5, "width"); }); });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(ErrorsAllocationTorture, NestWithoutStorage)
{
    const support::ChildResult child =
        support::runInChild([] { tortureNewThreads([] { s_on(CommonError, 5, "width"); }); });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(ErrorsAllocationTorture, RaiseNestAndRecordWithStorage)
{
    EXPECT_EQ("0 points", torture([] {
                  const OpenStorage storage;
                  s_start(CommonError, 0);
                  s_on(CommonError, 5, "width");
                  s_on(*ErrorStorage::get());
                  return rightIf(storage.m_count == 3 && isReason("Invalid parameter: width"));
              }));
}

TEST(ErrorsAllocationTorture, OverwrittenErrors)
{
    EXPECT_EQ("0 points", tortureInChild([] {
                  const OpenStorage storage;
                  for (int count = 0; count < 20; ++count)
                      s_on(CommonError, 5, "width");
                  ErrorStorage::ack();
                  return rightIf(storage.m_count == 20);
              }));
}

TEST(ErrorsAllocationTorture, UnhandledErrors)
{
    EXPECT_EQ("0 points", tortureInChild([] {
                  const std::StdoutDumpErrorStorage outer;
                  const std::TraceErrorStorage storage(3);
                  s_start(CommonError, 0);
                  s_on(CommonError, 1);
                  s_start(CommonError, 5, "width"); // hands the chain over
                  ErrorStorage::ack();
                  return rightIf(isReason("Invalid parameter: width"));
              }));
}

template <typename Storage>
Outcome raiseInHeapStorage()
{
    ErrorStorage* const storage = new (std::nothrow) Storage;
    if (storage == nullptr) return support::REFUSED;
    s_start(CommonError, 5, "width");
    const Outcome outcome = rightIf(isReason("Invalid parameter: width"));
    ErrorStorage::ack();
    delete static_cast<Storage*>(storage);
    return outcome;
}

TEST(ErrorsAllocationTorture, HeapStorages)
{
    EXPECT_EQ("1 points", torture(raiseInHeapStorage<std::StdoutDumpErrorStorage>));
    EXPECT_EQ("1 points", torture(raiseInHeapStorage<std::AbortErrorStorage>));
    EXPECT_EQ("1 points", torture(raiseInHeapStorage<OpenStorage>));
}

TEST(ErrorsAllocationTorture, ReasonList)
{
    const OpenStorage storage;
    s_start(CommonError, 5, "width");
    s_on(CommonError, 0);
    EXPECT_EQ("4 points", torture([] {
                  const std::string list = zel_error.getReasonList();
                  const bool isWhole =
                      list ==
                      "Error (ID 0):\n\tOut of heap memory\n\tLocation: "
                      "pump.cpp:7\n\twas caused by\nError (ID 5):\n\tInvalid parameter: width\n\t"
                      "Location: pump.cpp:7\n";
                  return rightOrRefused(isWhole, list.empty());
              }));
}

int s_reports = 0;

TEST(ErrorsAllocationTorture, ReportsAndHandlers)
{
    EXPECT_EQ("0 points", tortureInChild([] {
                  GlobalErrorHandler::s_disable_abort = true;
                  GlobalErrorHandler::atWarning([](const char*, const char*) { ++s_reports; });
                  GlobalErrorHandler::doAssert(false, "width > 0", "pump.cpp", 7, "run", nullptr);
                  GlobalErrorHandler::doAbort("pump.cpp", 7, "run", "%d", 12);
                  GlobalErrorHandler::doOutOfMem("pump.cpp", 7, "run", "%d", 12);
                  s_reports = 0;
                  GlobalErrorHandler::doWarning("pump.cpp", 7, "run", "%f", 12.5);
                  return rightIf(s_reports > 0);
              }));
}

} // namespace
