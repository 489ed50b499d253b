// SPDX-License-Identifier: Apache-2.0
//
// The process's helper: it is there when the library is loaded, and brings the client with `init`.

#include <list>
#include <memory>
#include <new>
#include <set>
#include <string>

#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "../common/error/ReportGuard.h"
#include "../zelbase/NeverDestroyed.h"
#include "Client.h"
#include "ControlSocket.h"
#include "CurrentThread.h"
#include "LocalTime.h"
#include "Settings.h"
#include "Sinks.h"
#include "StderrSink.h"
#include "Watchers.h"

namespace tracing {
namespace impl {

namespace {

/// Before the static objects of the program, also of one that is linked statically.
constexpr int FIRST_PRIORITY = 101;

/// Returns `name` in a place where it stays to the process's end, as ids of clients do.
const std::string& keepName(const std::string& name)
{
    static std::set<std::string>& s_names = *new std::set<std::string>;
    return *s_names.insert(name).first;
}

/// All that there is between `init` and `deinit`. The order matters: each part uses those above.
struct Session
{
    Session(const std::string& name, const Settings& settings)
        : processName(keepName(name)), controlPath(settings.controlPath),
          client(processName, settings.levels, settings.queueLength, zones),
          control(client, watchers)
    {}

    const std::string& processName;
    const std::string controlPath;
    TimeZones zones;
    const std::shared_ptr<Watchers> watchers = std::make_shared<Watchers>();
    Client client;
    ControlSocket control;
};

class Helper final : public IClientHelper
{
public:
    /// Starts the client, unless it runs already. Returns false without memory.
    bool init(const std::string& processName) override;
    /// Takes the client back: channels collect in the list again. Not from a callback.
    void deinit() override;
    /// Returns an object that stands for the client, also while there is none.
    IClient* getClient() override;

private:
    static std::unique_ptr<Session> start(const std::string& processName);
    static void addSinks(Session& session, const Settings& settings);
    static void takeIn(Client& client);
    static void openControl(Session& session);

    /// Hands everything on to `IClient::s_client`, as the interface's own operations do.
    IClient m_proxy;
    zel::Mutex m_mutex;
    std::unique_ptr<Session> m_session ZEL_GUARDED_BY(m_mutex);
};

bool Helper::init(const std::string& processName)
{
    if (isOwnThread()) return IClient::s_client != nullptr; // `deinit` may wait for this thread
    const errorcore::ReportGuard guard;
    const zel::ScopedLock lock(m_mutex);
    if (m_session != nullptr) return true;
    try {
        m_session = start(processName);
    } catch (const std::bad_alloc&) {
        return false;
    }
    IClient::s_client = &m_session->client;
    takeIn(m_session->client);
    openControl(*m_session);
    return true;
}

std::unique_ptr<Session> Helper::start(const std::string& processName)
{
    forgetLocalOffset();
    Settings settings;
    for (const std::string& ignored : readSettings(settings))
        complain(ignored);
    auto session = std::make_unique<Session>(processName, settings);
    addSinks(*session, settings);
    return session;
}

/// Lets tools in, which find all channels then. Without memory for that there is no socket.
void Helper::openControl(Session& session)
{
    const std::string& path = session.controlPath;
    if (path.empty()) return;
    try {
        std::string reason;
        if (!session.control.open(path, reason))
            complain(ignoredLine(CONTROL_VARIABLE, path, reason));
    } catch (const std::bad_alloc&) {
        writeToStderr("tracing: no memory for the control socket\n");
    }
}

void Helper::addSinks(Session& session, const Settings& settings)
{
    const SinkContext context{session.processName, session.zones, session.client};
    bool hasSink = false;
    for (const SinkSettings& setting : settings.sinks) {
        std::string reason;
        SinkPtr sink = makeSink(setting, context, reason);
        if (sink == nullptr) {
            complain(ignoredLine(SINKS_VARIABLE, setting.text, reason));
            continue;
        }
        session.client.addSink(std::move(sink));
        hasSink = true;
    }
    if (!hasSink) session.client.addSink(std::make_unique<StderrSink>(session.zones));
    session.client.addSink(std::make_unique<WatchSink>(session.watchers, session.zones));
}

/// Becomes the listener of the channels, and takes in those that there are.
void Helper::takeIn(Client& client)
{
    ChannelList* const list = ChannelList::getInstance();
    if (list == nullptr) return;
    std::list<Channel*> channels;
    channels.swap(list->getChannels());
    list->setListener(&client);
    for (Channel* const channel : channels)
        client.channelRegistered(channel);
}

void Helper::deinit()
{
    if (isOwnThread()) {
        writeToStderr("tracing: deinit from a callback is ignored\n"); // also without memory
        return;
    }
    const errorcore::ReportGuard guard;
    const zel::ScopedLock lock(m_mutex);
    if (m_session == nullptr) return;
    const bool isForked = m_session->client.isForked();
    if (!isForked) m_session->client.closeCallbacks(); // they may log, and build channels
    ChannelList* const list = ChannelList::getInstance();
    if (list != nullptr) list->setListener(nullptr);
    if (isForked) {
        IClient::s_client = nullptr;
        static_cast<void>(m_session.release()); // it is the parent's, with its thread and locks
        return;
    }
    m_session->client.flushMessages(true); // while those who watch are there
    std::list<Channel*> channels = m_session->client.releaseAll();
    if (list != nullptr) list->getChannels().splice(list->getChannels().end(), channels);
    IClient::s_client = nullptr;
    m_session.reset();
}

IClient* Helper::getClient()
{
    return &m_proxy;
}

/// Never destroyed: exit handlers of others may still call it.
Helper& helper()
{
    static zelbase::NeverDestroyed<Helper> s_helper;
    return s_helper.object;
}

/// Makes the helper the process's when the library is loaded.
__attribute__((constructor(FIRST_PRIORITY))) void install()
{
    IClientHelper::setClientHelper(&helper());
}

} // namespace

} // namespace impl
} // namespace tracing

/// What programs refer to, so that the linker keeps the library.
extern "C" ZEL_EXPORT const char tracing_impl = 1;
