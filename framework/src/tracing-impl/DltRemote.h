// SPDX-License-Identifier: Apache-2.0
//
// What comes from DLT's viewer to the process.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_DLTREMOTE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_DLTREMOTE_H

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include <dlt/dlt.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "../zelbase/NeverDestroyed.h"
#include "RemoteTarget.h"

namespace tracing {
namespace impl {

/// What the viewer, or `dlt-control`, asks of the process: other levels, and callbacks. DLT's own
/// thread brings it. There is one, as DLT's functions have no memory of whom they call for.
///
/// A daemon that is started after the program, or anew, is told of the contexts without their
/// levels, and answers with its own for each. That is nobody's wish, and must not become the
/// channels' level. DLT does not mark such an answer, but the trace status tells it: contexts are
/// registered with `REGISTERED`, which comes with each change, and the daemon answers with the
/// other one.
class DltRemote
{
public:
    /// The context of the process itself. Injections go to it, with the service 4096 and the bytes
    /// "NAME", or "NAME", a blank, and what the callback of that name is given.
    static constexpr const char* CONTROL_ID = "CTRL";
    static constexpr DltTraceStatusType REGISTERED = DLT_TRACE_STATUS_ON;

    /// Returns the one. It is never destroyed: DLT's thread may run until the process ends.
    static DltRemote& instance();

    bool isServing() ZEL_EXCLUDES(m_targetMutex);
    /// Brings wishes to `target`, which is not owned and must live until `end`. Requires that DLT
    /// runs.
    void begin(RemoteTarget& target) ZEL_EXCLUDES(m_targetMutex);
    /// Returns when no wish is under way any more; none comes after. Not to be called by a callback
    /// that was injected.
    void end() ZEL_EXCLUDES(m_targetMutex);

    /// Makes the context `id` that of `path`. May be called while the target is locked.
    void add(const std::string& id, const std::string& path) ZEL_EXCLUDES(m_nameMutex);

    /// What DLT calls.
    static void levelChanged(char id[DLT_ID_SIZE], std::uint8_t level, std::uint8_t traceStatus);
    static int injected(std::uint32_t service, void* data, std::uint32_t size, void*);

private:
    using Clock = std::chrono::steady_clock;

    struct Name
    {
        std::string path;
        /// Until when a level is the daemon's answer.
        Clock::time_point answerEnd;
    };

    friend union zelbase::NeverDestroyed<DltRemote>;

    DltRemote() = default;
    void registerControl() ZEL_REQUIRES(m_targetMutex);
    void changeLevel(const std::string& id, std::uint8_t level, bool isAnswer)
        ZEL_EXCLUDES(m_targetMutex, m_nameMutex);
    void expectAnswers() ZEL_REQUIRES(m_targetMutex) ZEL_EXCLUDES(m_nameMutex);
    bool findPath(const std::string& id, std::string& path) ZEL_EXCLUDES(m_nameMutex);
    bool call(const std::string& request) ZEL_EXCLUDES(m_targetMutex);

    /// Held while the target is called, which locks channels and sinks: sinks must not take it.
    zel::Mutex m_targetMutex;
    RemoteTarget* m_target ZEL_GUARDED_BY(m_targetMutex) = nullptr;
    DltContext m_control ZEL_GUARDED_BY(m_targetMutex) = {};
    /// How often that was registered, and for how many of these the daemon is to answer yet.
    unsigned int m_registrations ZEL_GUARDED_BY(m_targetMutex) = 0;
    unsigned int m_answersDue ZEL_GUARDED_BY(m_targetMutex) = 0;
    /// Until when it answers.
    Clock::time_point m_answerEnd ZEL_GUARDED_BY(m_targetMutex) = Clock::time_point::min();
    /// Nothing else is called while this is held.
    zel::Mutex m_nameMutex;
    std::map<std::string, Name> m_names ZEL_GUARDED_BY(m_nameMutex);
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_DLTREMOTE_H
