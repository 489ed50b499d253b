// SPDX-License-Identifier: Apache-2.0
//
// The process's trace client: every operation of the interface, on top of the units beside it.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CLIENT_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CLIENT_H

#include <list>
#include <string>
#include <utility>
#include <vector>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>

#include "Callbacks.h"
#include "ChannelTree.h"
#include "Dispatcher.h"
#include "Fork.h"
#include "RemoteTarget.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// Any thread may call anything. In a process that was forked off, locks may be held by threads
/// that are not there: messages go to standard error at once, a channel that is built there has the
/// level that it was built with, or "warning", and levels stay as they are.
class Client final : public IClient, public IChannelListListener, public RemoteTarget
{
public:
    /// For the process `name`, which stays to the process's end. `zones`, with which the sinks are
    /// made, must outlive this object.
    Client(const std::string& name, LevelSettings levels, std::size_t queueLength,
           TimeZones& zones);
    /// Lets go of all channels and writes everything out.
    ~Client() override;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Names the calling thread in its messages.
    void registerThread(const std::string& name) override;
    void unregisterThread() override;
    int registerCallback(const std::string& name, Callback callback) override;
    int registerCallback(const std::string& name, CallbackObject* object) override;
    /// Returns 0, or -1 for an id that is none.
    int unregisterCallback(int id) override;
    /// `value` and the later one are seconds ahead of the local time.
    int registerTimeZone(const std::string& name, int value) override;
    void updateTimeZone(int id, long long value) override;
    /// Writes a line to standard error past everything.
    void emergencyLog(const std::string& text) override;
    /// Writes everything out and raises SIGTRAP, which a debugger takes and which ends the process
    /// without one.
    void emergencyBreak() override;
    bool enableChannel(Channel* channel) override;
    bool disableChannel(Channel* channel) override;
    bool changeChannelFilterLevel(Channel* channel, short level) override;
    void logMessage(const Channel& channel, short level, short modifiers,
                    const std::string& text) override;
    void logMessage(const Channel& channel, short level, short messageType, short modifiers,
                    const void* data, unsigned int size) override;
    void logMessage(const Channel& channel, short level, short modifiers, char* text,
                    bool takeOwnership) override;
    void logMessage(const Channel& channel, short level, short modifiers, long long timestamp,
                    char* text, bool takeOwnership) override;
    /// Returns when everything is out, if `value`; at once if not, as nothing that is queued rests.
    void flushMessages(bool value) override;
    /// Returns the process's name.
    const std::string& getClientId() override;

    void channelRegistered(Channel* channel) override;
    void channelUnregistered(Channel* channel) override;

    std::vector<ChannelState> channels() override;
    bool setLevel(const std::string& path, short level) override;
    bool call(const std::string& name, std::string bytes) override;

    /// Adds a sink, for the messages that are written from now on.
    void addSink(SinkPtr sink) { m_dispatcher.addSink(std::move(sink)); }
    /// Lets no tool call the process any more. Returns when no callback is under way.
    void closeCallbacks() { m_callbacks.close(); }
    /// Takes all channels out. Returns them in the order of their ids.
    std::list<Channel*> releaseAll() { return m_tree.releaseAll(); }

    /// Returns whether this process was forked off from the client's.
    bool isForked() const { return m_process.isForked(); }

private:
    void putText(Message& message, char* text, bool takeOwnership);

    const OwnProcess m_process;
    const std::string& m_name;
    TimeZones& m_zones;
    Callbacks m_callbacks;
    Dispatcher m_dispatcher;
    ChannelTree m_tree;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CLIENT_H
