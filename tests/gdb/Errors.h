// SPDX-License-Identifier: Apache-2.0
//
// Threads that wait with errors in their storages.

#ifndef ZELCOMMON_TESTS_GDB_ERRORS_H
#define ZELCOMMON_TESTS_GDB_ERRORS_H

#include <thread>

#include <pthread.h>
#include <zelcommon.h>

namespace pump {

const std::ErrorID TABLE[] = {{0, "Pump %d is dry", 1}, {1, "No pump", 0}};
std::ErrorType Error(TABLE, 2, std::CommonError);

inline void fail()
{
    std::ErrorOutput("/build/src/pump/valve.cpp", 7, true)(std::CommonError, 3, "depth");
    std::ErrorOutput("pump.cpp", 12, false)(Error, 0, 4);
    std::ErrorOutput("control.cpp", 21, false)(Error, 1);
}

} // namespace pump

/// Starts threads one after another: each is where it is to stay when the next one starts.
class Waiting
{
public:
    template <typename Work>
    void start(Work work)
    {
        std::thread([this, work] { work(*this); }).detach();
        const zel::ScopedLock lock(m_mutex);
        m_changed.wait([this] { return m_isReady; });
        m_isReady = false;
    }

    /// Called by the threads.
    void stay()
    {
        const zel::ScopedLock lock(m_mutex);
        m_isReady = true;
        m_changed.signal_all();
        m_changed.wait([] { return false; });
    }

private:
    zel::Mutex m_mutex;
    zel::Condition m_changed{m_mutex};
    bool m_isReady = false;
};

inline void stayWithOneError(Waiting& waiting)
{
    std::AbortErrorStorage errors;
    std::ErrorOutput("include/pump/valve.h", 3, true)(std::CommonError, 0);
    waiting.stay();
}

inline void stayWithTwoStorages(Waiting& waiting)
{
    std::StdoutDumpErrorStorage outer;
    std::ErrorOutput("outer.cpp", 5, true)(pump::Error, 1);
    std::ErrorStorage::ack();
    std::TraceErrorStorage inner(1);
    waiting.stay();
}

/// Under a name that is no text.
inline void stayWithoutStorage(Waiting& waiting)
{
    pthread_setname_np(pthread_self(), "\xFC");
    waiting.stay();
}

inline void stayWithoutStorageOfItsOwn(Waiting& waiting)
{
    std::ErrorOutput("late.cpp", 9, true)(pump::Error, 0, 6);
    waiting.stay();
}

/// A storage that leads nowhere. The process ends without destroying it.
struct DamagedStorage : std::StdoutDumpErrorStorage
{
    DamagedStorage() { m_previous = reinterpret_cast<std::ErrorStorage*>(8); }
};

inline void stayWithADamagedStorage(Waiting& waiting)
{
    DamagedStorage errors;
    std::ErrorOutput("inner.cpp", 2, true)(pump::Error, 1);
    waiting.stay();
}

/// Errors that no storage would hold.
struct OddErrors
{
    OddErrors()
    {
        circle = known("circle.cpp");
        circle.m_cause = &circle;
        noReason = known("pump.cpp");
        noReason.m_reason = nullptr;
        noFile = known(nullptr);
        badFile = known(reinterpret_cast<const char*>(1));
        badCause = known("pump.cpp");
        badCause.m_cause = reinterpret_cast<const std::ErrorObject*>(1);
        full = known("pump.cpp");
        for (char& character : full.m_buffer)
            character = 'f';
        full.m_reason = full.m_buffer;
    }

    static std::ErrorObject known(const char* file)
    {
        std::ErrorObject error;
        error.m_type = &pump::Error;
        error.m_file = file;
        error.m_line = 1;
        error.m_reason = "odd";
        return error;
    }

    std::ErrorObject none;
    std::ErrorObject circle;
    std::ErrorObject noReason;
    std::ErrorObject noFile;
    std::ErrorObject badFile;
    std::ErrorObject badCause;
    std::ErrorObject full;
    const std::ErrorObject& reference = noFile;
};

#endif // ZELCOMMON_TESTS_GDB_ERRORS_H
