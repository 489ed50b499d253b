// SPDX-License-Identifier: Apache-2.0

#include "processId-posix.h"

#include <pthread.h>
#include <unistd.h>

#include "initPriority.h"

static_assert(sizeof(pid_t) == sizeof(int), "a process id fits the int that reports print");

namespace {

/// Nothing forgets the id in a forked child yet, so it may not be remembered.
constexpr int MUST_ASK = -1;
/// The id may be remembered and is not known.
constexpr int UNKNOWN = 0;

void forget()
{
    zelbase::s_knownProcessId.store(UNKNOWN, std::memory_order_relaxed);
}

/// Runs at load, as registering allocates memory, which recording an error must not.
__attribute__((constructor(ZELCOMMON_INIT_PRIORITY))) void rememberFromNowOn()
{
    if (pthread_atfork(nullptr, nullptr, forget) == 0) forget();
}

} // namespace

namespace zelbase {

std::atomic<int> s_knownProcessId{MUST_ASK};

int askProcessId()
{
    const int asked = getpid();
    if (s_knownProcessId.load(std::memory_order_relaxed) == UNKNOWN)
        s_knownProcessId.store(asked, std::memory_order_relaxed);
    return asked;
}

} // namespace zelbase
