// SPDX-License-Identifier: Apache-2.0

#include "Callbacks.h"

#include <algorithm>
#include <exception>
#include <new>

#include <tracing-impl/CallbackObject.h>

#include "CurrentThread.h"
#include "Printable.h"
#include "StderrSink.h"

namespace tracing {
namespace impl {

namespace {

constexpr int NONE = -1;

} // namespace

int Callbacks::add(const std::string& name, IClient::Callback callback)
{
    return callback == nullptr ? NONE : add(name, Entry{0, callback, nullptr});
}

int Callbacks::add(const std::string& name, CallbackObject* object)
{
    return object == nullptr ? NONE : add(name, Entry{0, nullptr, object});
}

int Callbacks::add(const std::string& name, const Entry& entry)
{
    const zel::ScopedLock lock(m_mutex);
    try {
        Entry& place = m_entries[name];
        place = entry;
        place.id = m_nextId++;
        return place.id;
    } catch (const std::bad_alloc&) {
        return NONE;
    }
}

int Callbacks::remove(int id)
{
    const zel::ScopedLock lock(m_mutex);
    const auto hasId = [id](const auto& entry) { return entry.second.id == id; };
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), hasId);
    const bool isThere = found != m_entries.end();
    if (isThere) m_entries.erase(found);
    while (isUnderWay(id)) // also of one that was replaced
        m_ended.wait();
    return isThere ? 0 : NONE;
}

/// Returns whether another thread is in the callback.
bool Callbacks::isUnderWay(int id) const
{
    const pid_t self = currentThreadId();
    return std::any_of(m_calls.begin(), m_calls.end(), [id, self](const Call& call) {
        return call.id == id && call.thread != self;
    });
}

bool Callbacks::begin(const std::string& name, Entry& entry)
{
    const zel::ScopedLock lock(m_mutex);
    const auto found = m_entries.find(name);
    if (found == m_entries.end() || m_isClosed) return false;
    entry = found->second;
    m_calls.push_back({entry.id, currentThreadId()});
    return true;
}

void Callbacks::end(int id)
{
    const zel::ScopedLock lock(m_mutex);
    const pid_t self = currentThreadId();
    const auto isMeant = [id, self](const Call& call) {
        return call.id == id && call.thread == self;
    };
    const auto found = std::find_if(m_calls.begin(), m_calls.end(), isMeant);
    if (found == m_calls.end()) return; // the callback has forked, and this is the child
    m_calls.erase(found);
    m_ended.signal_all();
}

void Callbacks::close()
{
    const zel::ScopedLock lock(m_mutex);
    m_isClosed = true;
    while (!m_calls.empty())
        m_ended.wait();
}

/// Returns false if the callback threw.
bool Callbacks::run(const Entry& entry, std::string& bytes)
{
    const OwnThread mark;
    const auto size = static_cast<unsigned int>(bytes.size());
    try {
        if (entry.object != nullptr)
            entry.object->called(entry.id, bytes.data(), size);
        else
            entry.callback(entry.id, bytes.data(), size);
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

bool Callbacks::call(const std::string& name, std::string bytes)
{
    Entry entry{};
    if (!begin(name, entry)) return false;
    const bool hasThrown = !run(entry, bytes);
    end(entry.id);
    if (hasThrown) complain("a callback has thrown: " + printable(name));
    return true;
}

} // namespace impl
} // namespace tracing
