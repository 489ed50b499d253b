// SPDX-License-Identifier: Apache-2.0
//
// The sink for DLT: a module of its own, so that only those who ask for it need DLT's library.

#include "Sinks.h"

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <dlt/dlt.h>
#include <dlt/dlt_common.h>
#include <pthread.h>
#include <syslog.h>

#include <common/tracing/Levels.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "DltIds.h"
#include "SignalGuard.h"

namespace tracing {
namespace impl {

namespace {

/// The time in tenths of a millisecond that DLT's exit handler waits for a daemon: none.
constexpr std::uint32_t NO_WAIT = 0;
/// What a daemon keeps of a description.
constexpr std::size_t MAX_DESCRIPTION = 255;

/// What stands before the one argument of a message.
constexpr std::size_t ARGUMENT_HEAD = sizeof(std::uint32_t) + sizeof(std::uint16_t);
constexpr std::size_t TERMINATOR = 1;
constexpr std::size_t MAX_TEXT = DLT_USER_BUF_MAX_SIZE - ARGUMENT_HEAD - TERMINATOR;
/// Bytes have a name, of which there is the size, too.
constexpr std::size_t NAME_ROOM =
    sizeof "type -32768, bytes 4294967295 to 4294967295 of 4294967295";
constexpr std::size_t MAX_RAW =
    DLT_USER_BUF_MAX_SIZE - ARGUMENT_HEAD - sizeof(std::uint16_t) - NAME_ROOM;

/// Returns DLT's level of a message.
DltLogLevelType levelOf(const Message& message)
{
    const short level =
        std::clamp(message.level, short(Levels::LevelTRACE), short(Levels::LevelFATAL));
    return static_cast<DltLogLevelType>(DLT_LOG_VERBOSE - level);
}

/// Returns DLT's level of a filter.
int filterOf(short level)
{
    if (level < Levels::LevelTRACE) return DLT_LOG_VERBOSE;
    return level > Levels::LevelFATAL ? DLT_LOG_OFF : DLT_LOG_VERBOSE - level;
}

/// Returns how many bytes of `text` one message takes: no character is parted.
std::size_t pieceOf(std::string_view text)
{
    constexpr std::size_t MOST_CONTINUATION_BYTES = 3;
    if (text.size() <= MAX_TEXT) return text.size();
    std::size_t size = MAX_TEXT;
    while (size > MAX_TEXT - MOST_CONTINUATION_BYTES && (text[size] & 0xC0) == 0x80)
        --size;
    return (text[size] & 0xC0) == 0x80 ? MAX_TEXT : size;
}

/// Returns whether DLT can show the caller's time stamp as that of the message.
bool hasDltStamp(const Message& message)
{
    return message.hasStamp && message.stamp >= 0 && message.stamp <= INT64_C(0xFFFFFFFF);
}

/// Returns what is shown of a text, or of an obfuscated message.
std::string textOf(const Message& message)
{
    std::string text;
    if (message.hasStamp && !hasDltStamp(message)) text = "@" + std::to_string(message.stamp) + " ";
    if ((message.modifiers & Modifiers::OBFUSCATE) == 0) return text.append(message.payload);
    if (message.isRaw) text += "type " + std::to_string(message.messageType) + ", ";
    return text + std::to_string(message.payload.size()) + " bytes, obfuscated";
}

/// Writes one message, whose argument `add` adds.
template <typename Add>
void send(DltContext& context, const Message& message, const Add& add)
{
    const DltLogLevelType level = levelOf(message);
    // The channel has let it pass, and DLT's own filter may say something else.
    if (__atomic_load_n(context.log_level_ptr, __ATOMIC_RELAXED) < level)
        __atomic_store_n(context.log_level_ptr, static_cast<std::int8_t>(level), __ATOMIC_RELAXED);
    DltContextData data = {};
    if (dlt_user_log_write_start(&context, &data, level) != DLT_RETURN_TRUE) return;
    if (hasDltStamp(message)) {
        data.use_timestamp = DLT_USER_TIMESTAMP;
        data.user_timestamp = static_cast<std::uint32_t>(message.stamp);
    }
    add(data);
    dlt_user_log_write_finish(&data);
}

void sendText(DltContext& context, const Message& message)
{
    const std::string all = textOf(message);
    std::string_view text = all;
    do {
        const std::string_view piece = text.substr(0, pieceOf(text));
        send(context, message, [piece](DltContextData& data) {
            const auto size = static_cast<std::uint16_t>(piece.size());
            dlt_user_log_write_sized_utf8_string(&data, piece.data(), size);
        });
        text.remove_prefix(piece.size());
    } while (!text.empty());
}

/// Writes `piece` of a raw message, which begins at `begin`; its name says what it is.
void sendBytes(DltContext& context, const Message& message, std::size_t begin,
               std::string_view piece)
{
    std::string name = "type " + std::to_string(message.messageType);
    if (piece.size() < message.payload.size())
        name += ", bytes " + std::to_string(begin) + " to " +
                std::to_string(begin + piece.size() - 1) + " of " +
                std::to_string(message.payload.size());
    send(context, message, [piece, &name](DltContextData& data) {
        const void* const bytes = piece.empty() ? "" : piece.data();
        dlt_user_log_write_raw_attr(&data, bytes, static_cast<std::uint16_t>(piece.size()),
                                    name.c_str());
    });
}

void sendRaw(DltContext& context, const Message& message)
{
    std::size_t begin = 0;
    do {
        const std::string_view piece = message.payload.substr(begin, MAX_RAW);
        sendBytes(context, message, begin, piece);
        begin += piece.size();
    } while (begin < message.payload.size());
}

/// DLT's library in this process. Its own exit handler frees it while threads may still log.
class DltLibrary
{
public:
    /// Returns the one. It is never destroyed.
    static DltLibrary& instance();

    /// Starts DLT for the process. Returns false if it cannot.
    bool start(const std::string& processName) ZEL_EXCLUDES(m_mutex);
    void stop() ZEL_EXCLUDES(m_mutex);

    /// Calls `action` unless the process exits.
    template <typename Action>
    void use(const Action& action) ZEL_EXCLUDES(m_mutex)
    {
        const zel::ScopedLock lock(m_mutex);
        if (m_isRunning) action();
    }

private:
    DltLibrary() = default;
    static void processExits();

    zel::Mutex m_mutex;
    bool m_isRunning ZEL_GUARDED_BY(m_mutex) = false;
    bool m_hasExitHandler ZEL_GUARDED_BY(m_mutex) = false;
};

DltLibrary& DltLibrary::instance()
{
    alignas(DltLibrary) static unsigned char s_memory[sizeof(DltLibrary)];
    static DltLibrary* const s_library = new (s_memory) DltLibrary;
    return *s_library;
}

bool DltLibrary::start(const std::string& processName)
{
    const zel::ScopedLock lock(m_mutex);
    const SignalGuard guard;     // for DLT's threads
    dlt_log_set_level(LOG_CRIT); // DLT's own lines would go to the program's standard output
    if (dlt_init() < DLT_RETURN_OK) return false;
    dlt_set_resend_timeout_atexit(NO_WAIT);
    // Later than DLT's own, to be called before it.
    if (!m_hasExitHandler) m_hasExitHandler = std::atexit(processExits) == 0;
    const std::string id = DltIds().take(processName);
    m_isRunning =
        m_hasExitHandler && dlt_register_app(id.c_str(), processName.c_str()) >= DLT_RETURN_OK;
    if (!m_isRunning) dlt_free();
    return m_isRunning;
}

void DltLibrary::stop()
{
    const zel::ScopedLock lock(m_mutex);
    if (!m_isRunning) return;
    m_isRunning = false;
    dlt_unregister_app_flush_buffered_logs();
    dlt_free();
}

void DltLibrary::processExits()
{
    DltLibrary& library = instance();
    const zel::ScopedLock lock(library.m_mutex);
    library.m_isRunning = false;
}

constexpr std::uint32_t INJECTION_SERVICE = 4096;
/// A daemon answers for all contexts in one go.
constexpr std::chrono::seconds ANSWER_TIME{1};

/// Puts off that DLT ends its thread, in the midst of the program's locks.
class CancellationGuard
{
public:
    CancellationGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CancellationGuard() { pthread_setcancelstate(m_before, nullptr); }
    CancellationGuard(const CancellationGuard&) = delete;
    CancellationGuard& operator=(const CancellationGuard&) = delete;

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

/// Returns the channel's level for one of DLT; `DLT_LOG_DEFAULT` comes as 255.
short channelLevelOf(std::uint8_t level)
{
    if (level > DLT_LOG_VERBOSE) return Levels::LevelDEFAULT;
    return static_cast<short>(DLT_LOG_VERBOSE - level);
}

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

DltRemote& DltRemote::instance()
{
    alignas(DltRemote) static unsigned char s_memory[sizeof(DltRemote)];
    static DltRemote* const s_remote = new (s_memory) DltRemote;
    return *s_remote;
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
    const CancellationGuard guard;
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
    const CancellationGuard guard;
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

class DltSink final : public Sink
{
public:
    /// Requires that DLT was started, and `remote` serves this sink.
    explicit DltSink(DltRemote& remote) : m_remote(remote) { m_ids.take(DltRemote::CONTROL_ID); }
    ~DltSink() override;

    void write(const Message& message) override;
    void channelChanged(const std::string& path, short level) override;

private:
    DltContext* contextOf(std::string_view path, short level);
    DltContext* addContext(const std::string& path, short level);

    DltLibrary& m_library = DltLibrary::instance();
    DltRemote& m_remote;
    DltIds m_ids;
    /// By the paths. They stay when the channel goes: others may come with the same path.
    std::map<std::string, DltContext, std::less<>> m_contexts;
};

DltSink::~DltSink()
{
    m_remote.end();
    m_library.use([this] {
        for (auto& entry : m_contexts)
            dlt_unregister_context(&entry.second);
    });
    m_library.stop();
}

void DltSink::write(const Message& message)
{
    m_library.use([&] {
        DltContext* const context = contextOf(message.path, message.level);
        if (context == nullptr) return;
        if (message.isRaw && (message.modifiers & Modifiers::OBFUSCATE) == 0)
            sendRaw(*context, message);
        else
            sendText(*context, message);
    });
}

void DltSink::channelChanged(const std::string& path, short level)
{
    // A level that changes later matters to the channel alone, see send.
    m_library.use([&] { contextOf(path, level); });
}

/// Returns the context of a path, which is registered with `level` if there is none yet. Returns
/// null if that fails.
DltContext* DltSink::contextOf(std::string_view path, short level)
{
    const auto found = m_contexts.find(path);
    return found != m_contexts.end() ? &found->second : addContext(std::string(path), level);
}

DltContext* DltSink::addContext(const std::string& path, short level)
{
    const std::string id = m_ids.take(path);
    if (id.empty()) return nullptr;
    m_remote.add(id, path);
    const std::string description = path.substr(0, MAX_DESCRIPTION);
    DltContext& context = m_contexts[path];
    const bool isRegistered =
        dlt_register_context_ll_ts(&context, id.c_str(), description.c_str(), filterOf(level),
                                   DltRemote::REGISTERED) >= DLT_RETURN_OK &&
        context.log_level_ptr != nullptr;
    if (!isRegistered) {
        m_contexts.erase(path);
        return nullptr;
    }
    dlt_register_log_level_changed_callback(&context, DltRemote::levelChanged);
    return &context;
}

} // namespace

} // namespace impl
} // namespace tracing

/// Returns a sink, or null if DLT does not start or has one already.
extern "C" ZEL_EXPORT tracing::impl::Sink*
tracing_impl_make_dlt_sink(const tracing::impl::SinkContext& context)
{
    using namespace tracing::impl;
    DltRemote& remote = DltRemote::instance();
    DltLibrary& library = DltLibrary::instance();
    if (remote.isServing() || !library.start(context.processName)) return nullptr;
    try {
        auto sink = std::make_unique<DltSink>(remote);
        remote.begin(context.target);
        return sink.release();
    } catch (const std::exception&) {
        library.stop();
        return nullptr;
    }
}
