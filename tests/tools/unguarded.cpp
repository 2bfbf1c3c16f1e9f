// clang's lock analysis must refuse this file: see test_thread_safety.sh.
#include "library/threads/mutex.h"
#include "util/spinlock.h"

using namespace korv;

class Unguarded
{
public:
    void good()
    {
        const MutexLock lock(m_mutex);
        const SpinGuard guard(m_spinLock);
        m_count = m_spun;
    }
#ifdef WITHOUT_MUTEX
    void bad()
    {
        m_count = 1;
    }
#endif
#ifdef WITHOUT_SPIN_LOCK
    void bad()
    {
        m_spun = 1;
    }
#endif
#ifdef LOCKED_TWICE
    void bad()
    {
        const MutexLock lock(m_mutex);
        const MutexLock again(m_mutex);
    }
#endif
#ifdef IN_THE_GAP
    void bad()
    {
        MutexLock lock(m_mutex);
        lock.unlock();
        m_count = 1;
        lock.lock();
    }
#endif

private:
    Mutex m_mutex;
    SpinLock m_spinLock;
    int m_count GUARDED_BY(m_mutex) = 0;
    int m_spun GUARDED_BY(m_spinLock) = 0;
};
