// SPDX-License-Identifier: Apache-2.0

#include "DltRemote.h"

#include <cstring>
#include <exception>
#include <utility>

#include <common/tracing/Levels.h>

#include "../common/error/ReportGuard.h"
#include "DltLibrary.h"

namespace tracing {
namespace impl {

namespace {

constexpr std::uint32_t INJECTION_SERVICE = 4096;
/// A daemon answers for all contexts in one go.
constexpr std::chrono::seconds ANSWER_TIME{1};

/// Returns the channel's level for one of DLT; `DLT_LOG_DEFAULT` comes as 255.
short channelLevelOf(std::uint8_t level)
{
    if (level > DLT_LOG_VERBOSE) return Levels::LevelDEFAULT;
    return static_cast<short>(DLT_LOG_VERBOSE - level);
}

} // namespace

DltRemote& DltRemote::instance()
{
    static zelbase::NeverDestroyed<DltRemote> s_remote;
    return s_remote.object;
}

bool DltRemote::isServing()
{
    const zel::ScopedLock lock(m_targetMutex);
    return m_target != nullptr;
}

void DltRemote::begin(RemoteTarget& target)
{
    const zel::ScopedLock lock(m_targetMutex);
    m_target = &target;
    m_registrations = 0;
    m_answersDue = 0;
    registerControl();
}

void DltRemote::end()
{
    const zel::ScopedLock lock(m_targetMutex);
    m_target = nullptr;
    DltContext& control = m_control;
    DltLibrary::instance().use([&control] { dlt_unregister_context(&control); });
    const zel::ScopedLock nameLock(m_nameMutex);
    m_names.clear();
}

void DltRemote::registerControl()
{
    DltContext& control = m_control;
    control = {};
    ++m_registrations;
    DltLibrary::instance().use([&control] {
        dlt_register_context_ll_ts(&control, CONTROL_ID, "control of the process", DLT_LOG_OFF,
                                   REGISTERED);
        dlt_register_log_level_changed_callback(&control, levelChanged);
        dlt_register_injection_callback_with_id(&control, INJECTION_SERVICE, injected, nullptr);
    });
}

void DltRemote::add(const std::string& id, const std::string& path)
{
    const zel::ScopedLock lock(m_nameMutex);
    m_names[id] = {path, Clock::time_point::min()};
}

void DltRemote::levelChanged(char id[DLT_ID_SIZE], std::uint8_t level, std::uint8_t traceStatus)
{
    const errorcore::ReportGuard guard;
    try {
        instance().changeLevel(std::string(id, strnlen(id, DLT_ID_SIZE)), level,
                               traceStatus != REGISTERED);
    } catch (const std::exception&) {
        // the level stays as it is
    }
}

void DltRemote::changeLevel(const std::string& id, std::uint8_t level, bool isAnswer)
{
    const zel::ScopedLock lock(m_targetMutex);
    if (m_target == nullptr) return;
    if (id == CONTROL_ID) {
        if (isAnswer) expectAnswers();
        return;
    }
    std::string path;
    if (findPath(id, path)) m_target->setLevel(path, channelLevelOf(level));
}

/// Sees to it that one level for each context is left out: this context is the first that the
/// daemon answers for. It is registered once more, so that the daemon has its trace status again;
/// the place that it has already stays the first.
void DltRemote::expectAnswers()
{
    const Clock::time_point now = Clock::now();
    if (m_answersDue > 0 && now < m_answerEnd) {
        --m_answersDue; // for the other times that it was registered
        return;
    }
    m_answersDue = m_registrations - 1;
    m_answerEnd = now + ANSWER_TIME;
    registerControl();
    const zel::ScopedLock lock(m_nameMutex);
    for (auto& entry : m_names)
        entry.second.answerEnd = m_answerEnd;
}

/// Returns false if there is no path, or the daemon answers.
bool DltRemote::findPath(const std::string& id, std::string& path)
{
    const zel::ScopedLock lock(m_nameMutex);
    const auto found = m_names.find(id);
    if (found == m_names.end()) return false;
    const bool isAnswer = Clock::now() < found->second.answerEnd;
    found->second.answerEnd = Clock::time_point::min();
    path = found->second.path;
    return !isAnswer;
}

int DltRemote::injected(std::uint32_t, void* data, std::uint32_t size, void*)
{
    const errorcore::ReportGuard guard;
    try {
        const std::string request(size == 0 ? "" : static_cast<const char*>(data), size);
        return instance().call(request) ? DLT_RETURN_OK : DLT_RETURN_ERROR;
    } catch (const std::exception&) {
        return DLT_RETURN_ERROR;
    }
}

bool DltRemote::call(const std::string& request)
{
    const zel::ScopedLock lock(m_targetMutex);
    if (m_target == nullptr) return false;
    const std::size_t blank = request.find(' ');
    const bool hasBytes = blank != std::string::npos;
    return m_target->call(request.substr(0, blank), hasBytes ? request.substr(blank + 1) : "");
}

} // namespace impl
} // namespace tracing
