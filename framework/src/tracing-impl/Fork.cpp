// SPDX-License-Identifier: Apache-2.0

#include "Fork.h"

#include <atomic>

#include <pthread.h>

namespace tracing {
namespace impl {

namespace {

std::atomic<unsigned int> s_generation{0};

void countFork()
{
    s_generation.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

unsigned int forkGeneration()
{
    static const int s_result = pthread_atfork(nullptr, nullptr, countFork);
    static_cast<void>(s_result); // without memory for it a child shares its parent's thread: none
    return s_generation.load(std::memory_order_relaxed);
}

} // namespace impl
} // namespace tracing
