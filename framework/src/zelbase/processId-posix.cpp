// SPDX-License-Identifier: Apache-2.0

#include "processId-posix.h"

#include <atomic>

#include <pthread.h>
#include <unistd.h>

#include "initPriority.h"

static_assert(sizeof(pid_t) == sizeof(int), "a process id fits the int that reports print");

namespace {

/// Nothing forgets the id in a forked child yet, so it may not be remembered.
constexpr int MUST_ASK = -1;
/// The id may be remembered and is not known.
constexpr int UNKNOWN = 0;

std::atomic<int> s_processId{MUST_ASK};

void forget()
{
    s_processId.store(UNKNOWN, std::memory_order_relaxed);
}

/// Runs at load, as registering allocates memory, which recording an error must not.
__attribute__((constructor(ZELCOMMON_INIT_PRIORITY))) void rememberFromNowOn()
{
    if (pthread_atfork(nullptr, nullptr, forget) == 0) forget();
}

} // namespace

int zelbase::processId()
{
    const int known = s_processId.load(std::memory_order_relaxed);
    if (known > 0) return known;

    const int asked = getpid();
    if (known == UNKNOWN) s_processId.store(asked, std::memory_order_relaxed);
    return asked;
}
