// SPDX-License-Identifier: Apache-2.0
//
// Channels that several components share by name, without agreeing who creates and destroys them.
//
//     tracing::SharedChannelPtr net("net");
//     if (net) ZEL_LOG(*net, tracing::Levels::LevelINFO, "link up");

#ifndef ZELCOMMON_COMMON_TRACING_SHAREDCHANNELMAP_H
#define ZELCOMMON_COMMON_TRACING_SHAREDCHANNELMAP_H

#include <cstdint>
#include <map>
#include <string>

#include <zel/attributes.h>

namespace tracing {

class Channel;

/// One shared channel.
struct SharedChannelEntry
{
    /// How often the channel is in use, at least once.
    std::uint32_t count;
    /// The channel, owned by the map; null if there was no memory for it.
    Channel* channel;
};

/// The channels that are shared, by their whole path. Nothing here is locked: uses are taken and
/// given back during start-up and shutdown, or under a lock of the callers', and not by the channel
/// list's listener.
class ZEL_EXPORT SharedChannelMap
{
public:
    /// Returns the one map, created by the first call (any thread) and destroyed when the process
    /// exits. Not to be called after that; handles know that by themselves.
    static SharedChannelMap* getInstance();

    SharedChannelMap();
    /// Leaves the channels that are still mapped as they are.
    ~SharedChannelMap();
    SharedChannelMap(const SharedChannelMap&) = delete;
    SharedChannelMap& operator=(const SharedChannelMap&) = delete;

    /// Takes a use of the channel with the path `name`, which the first use creates: registered,
    /// with the initial level `LevelNONE`.
    /// Returns the channel, or null if there was no memory for it when it was first asked for; that
    /// counts as a use, too.
    /// Returns null without taking a use if there is no memory for the map's own entry;
    /// `SharedChannelPtr` can tell.
    Channel* mapChannel(const std::string& name);

    /// Gives a use back; the last one destroys the channel. Does nothing if `name` is not mapped.
    void unmapChannel(const std::string& name);

private:
    friend class SharedChannelPtr;

    /// Takes a use. Returns the entry, or null if there is no memory for one.
    ZEL_LOCAL SharedChannelEntry* takeUse(const std::string& name);

    std::map<std::string, SharedChannelEntry> m_channels;
};

/// Holds a use of a shared channel for as long as it lives. Not copyable. One that outlives the
/// map, while the process exits, does nothing more.
class ZEL_EXPORT SharedChannelPtr
{
public:
    /// Takes a use of the channel with the path `name`.
    SharedChannelPtr(const std::string& name);
    ~SharedChannelPtr();
    SharedChannelPtr(const SharedChannelPtr&) = delete;
    SharedChannelPtr& operator=(const SharedChannelPtr&) = delete;

    /// Returns the channel, or null if there was no memory for it or the map was gone.
    Channel* get() const { return m_channel; }
    /// Require that there is a channel.
    /// @{
    Channel* operator->() const { return m_channel; }
    Channel& operator*() const { return *m_channel; }
    /// @}
    /// Returns whether there is a channel.
    explicit operator bool() const { return m_channel != nullptr; }

private:
    Channel* m_channel;
    std::string m_name;
    bool m_hasUse;
};

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_SHAREDCHANNELMAP_H
