// SPDX-License-Identifier: Apache-2.0

#include "processId-posix.h"

#include <atomic>

#include <pthread.h>
#include <unistd.h>

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

/// Registered at load, as registering allocates memory, which recording an error must not.
const bool s_forgotInChild = [] {
    const bool registered = pthread_atfork(nullptr, nullptr, forget) == 0;
    if (registered) forget();
    return registered;
}();

} // namespace

int zelbase::processId()
{
    const int known = s_processId.load(std::memory_order_relaxed);
    if (known > 0) return known;

    const int asked = getpid();
    if (known == UNKNOWN) s_processId.store(asked, std::memory_order_relaxed);
    return asked;
}
