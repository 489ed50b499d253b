// SPDX-License-Identifier: Apache-2.0

#include "Fork.h"

#include <atomic>
#include <cstddef>

#include <pthread.h>
#include <unistd.h>

namespace tracing {
namespace impl {

namespace {

std::atomic<unsigned int> s_generation{0};

/// Descriptors that a child closes.
constexpr int NONE = -1;
constexpr std::size_t MOST = 16;
struct Place
{
    std::atomic<int> fd{NONE};
};
Place s_places[MOST];

/// Replaces the first `from`, if there is one, by `to`.
void replace(int from, int to)
{
    for (Place& place : s_places) {
        int expected = from;
        if (place.fd.compare_exchange_strong(expected, to)) return;
    }
}

void becomeChild()
{
    s_generation.fetch_add(1, std::memory_order_relaxed);
    for (Place& place : s_places) {
        const int fd = place.fd.exchange(NONE);
        if (fd != NONE) close(fd);
    }
}

} // namespace

unsigned int forkGeneration()
{
    static const int s_result = pthread_atfork(nullptr, nullptr, becomeChild);
    static_cast<void>(s_result); // without memory for it a child shares its parent's thread: none
    return s_generation.load(std::memory_order_relaxed);
}

void closeInChildren(int fd)
{
    static_cast<void>(forkGeneration()); // so that children notice
    replace(NONE, fd);
}

void forgetInChildren(int fd)
{
    replace(fd, NONE);
}

} // namespace impl
} // namespace tracing
