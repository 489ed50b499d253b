// SPDX-License-Identifier: Apache-2.0
//
// A trace client that prints each message as one line of standard error. It arranges the channels
// of the process in a tree by their paths, in which a channel that has no level of its own takes
// that of the one above it.
//
//     ConsoleClient client({{"import", tracing::Levels::LevelDEBUG}});
//     tracing::client_helper->init("device-import");

#ifndef DEVICE_IMPORT_CONSOLECLIENT_H
#define DEVICE_IMPORT_CONSOLECLIENT_H

#include <list>
#include <map>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

namespace deviceimport {

/// Filter levels by the paths of channels, the empty one for the root.
using TraceLevels = std::map<std::string, short>;

/// The client. Not copyable. Between `init` and `deinit` of the process's helper it is the
/// process's client and serves all registered channels, whenever they are built and destroyed.
///
/// A level belongs to a path and outlives its channels. It is the one given to the constructor or
/// by Channel::changeFilterLevel, else the initial level of the first channel that has one. A path
/// without a level, or with `LevelNONE`, takes that of the path above; the root has `LevelWARN`.
///
/// Standard output is the program's; standard error is not buffered, so that the last line is there
/// however the process ends. Any thread may log; the lines come one after another, and a thread is
/// not cancelled amid one. Printing allocates nothing. A channel for which there is no memory logs
/// nothing.
class ConsoleClient final : public tracing::IClient,
                            private tracing::IClientHelper,
                            private tracing::IChannelListListener
{
public:
    /// Becomes the process's helper.
    explicit ConsoleClient(TraceLevels levels);
    /// Gives the channels back to the list for the next client, and the process its fallback
    /// helper. Requires that no other thread logs any more.
    ~ConsoleClient() override;
    ConsoleClient(const ConsoleClient&) = delete;
    ConsoleClient& operator=(const ConsoleClient&) = delete;

    /// Gives the path of `channel` a level, and what is below it. Returns false if there is no such
    /// level or no memory for it, or the channel is not this client's.
    bool changeChannelFilterLevel(tracing::Channel* channel, short level) override
        ZEL_EXCLUDES(m_mutex);

    void logMessage(const tracing::Channel& channel, short level, short modifiers,
                    const std::string& text) override;
    /// Prints the type and, in hexadecimal digits, the first bytes.
    void logMessage(const tracing::Channel& channel, short level, short messageType,
                    short modifiers, const void* data, unsigned int size) override;
    void logMessage(const tracing::Channel& channel, short level, short modifiers, char* text,
                    bool takeOwnership) override;
    void logMessage(const tracing::Channel& channel, short level, short modifiers,
                    long long timestamp, char* text, bool takeOwnership) override;

private:
    bool init(const std::string& processName) override ZEL_EXCLUDES(m_mutex);
    void deinit() override ZEL_EXCLUDES(m_mutex);
    tracing::IClient* getClient() override { return this; }
    void channelRegistered(tracing::Channel* channel) override ZEL_EXCLUDES(m_mutex);
    void channelUnregistered(tracing::Channel* channel) override ZEL_EXCLUDES(m_mutex);

    void takeIn(tracing::Channel& channel) ZEL_REQUIRES(m_mutex);
    void release(tracing::Channel& channel) ZEL_REQUIRES(m_mutex);
    void place(tracing::Channel& channel) ZEL_REQUIRES(m_mutex);
    void link(tracing::Channel& parent, tracing::Channel& channel) ZEL_REQUIRES(m_mutex);
    tracing::Channel& nodeBelow(tracing::Channel& parent, const std::string& name)
        ZEL_REQUIRES(m_mutex);
    void resolveLevels(tracing::Channel& channel, short inherited) ZEL_REQUIRES(m_mutex);
    void print(const tracing::Channel& channel, short level, const char* stamp, const char* text)
        ZEL_EXCLUDES(m_mutex);

    zel::Mutex m_mutex;
    TraceLevels m_levels ZEL_GUARDED_BY(m_mutex);
    tracing::Channel m_root ZEL_GUARDED_BY(m_mutex);
    /// The client's own channels between the root and the others, which so are leaves.
    std::list<tracing::Channel> m_nodes ZEL_GUARDED_BY(m_mutex);
    /// The registered channels, not owned.
    std::list<tracing::Channel*> m_channels ZEL_GUARDED_BY(m_mutex);
    int m_nextId ZEL_GUARDED_BY(m_mutex) = 0;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_CONSOLECLIENT_H
