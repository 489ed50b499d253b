// SPDX-License-Identifier: Apache-2.0
//
// What clang's thread-safety analysis must refuse, one case at a time; without a case it compiles.

#include <zelcommon.h>

class Counter
{
public:
    void raise()
    {
#if defined FIELD_WITHOUT_ITS_LOCK
        ++m_count;
#elif defined LOCK_HELD_AT_THE_END
        m_mutex.lock();
        ++m_count;
#elif defined LOCKED_TWICE
        const zel::ScopedLock lock(m_mutex);
        const zel::ScopedLock again(m_mutex);
        ++m_count;
#elif defined TRIED_AND_NOT_TESTED
        m_mutex.try_lock();
        ++m_count;
        m_mutex.unlock();
#elif defined HELPER_WITHOUT_ITS_LOCK
        raiseLocked();
#else
        const zel::ScopedLock lock(m_mutex);
        raiseLocked();
#endif
    }

    bool tryToRaise()
    {
        if (!m_mutex.try_lock_for(zelbase::Duration(5))) return false;
        ++m_count;
        m_mutex.unlock();
        return true;
    }

    bool waitUntilRaised(const zelbase::TimePoint& deadline)
    {
        const zel::ScopedLock lock(m_mutex);
        return m_raised.wait_timeout(deadline,
                                     [this]() ZEL_REQUIRES(m_mutex) { return m_count > 0; });
    }

private:
    void raiseLocked() ZEL_REQUIRES(m_mutex)
    {
        ++m_count;
    }

    zel::Mutex m_mutex;
    zel::Condition m_raised{m_mutex};
    int m_count ZEL_GUARDED_BY(m_mutex) = 0;
};

Counter s_counter;
