// SPDX-License-Identifier: Apache-2.0

#include "CurrentThread.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include "Fork.h"

namespace tracing {
namespace impl {

namespace {

constexpr std::size_t MAX_NAME = 31;

/// Plain data: nothing has to be torn down when a thread ends, even after an unload.
struct ThreadData
{
    pid_t id;
    /// That of the process in which `id` was asked for.
    unsigned int generation;
    std::size_t nameSize;
    char name[MAX_NAME];
    bool isOwn;
};

thread_local ThreadData t_data = {};

} // namespace

pid_t currentThreadId()
{
    const unsigned int generation = forkGeneration();
    if (t_data.id == 0 || t_data.generation != generation) {
        t_data.id = gettid();
        t_data.generation = generation;
    }
    return t_data.id;
}

void nameCurrentThread(std::string_view name)
{
    t_data.nameSize = std::min(name.size(), MAX_NAME);
    if (!name.empty()) std::memcpy(t_data.name, name.data(), t_data.nameSize);
}

OwnThread::OwnThread() : m_wasOwn(t_data.isOwn)
{
    t_data.isOwn = true;
}

OwnThread::~OwnThread()
{
    t_data.isOwn = m_wasOwn;
}

bool isOwnThread()
{
    return t_data.isOwn;
}

std::string_view currentThreadName()
{
    return std::string_view(t_data.name, t_data.nameSize);
}

} // namespace impl
} // namespace tracing
