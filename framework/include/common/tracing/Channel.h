// SPDX-License-Identifier: Apache-2.0
//
// tracing::Channel is a named source of trace messages. The trace client takes channels in,
// arranges them in a tree by name, and gives each an id and a filter level; until then a channel
// logs nothing. <common/tracing/log.h> tests the level before it evaluates anything.
//
//     tracing::Channel net("net", tracing::Levels::LevelINFO, tracing::Channel::FLAG_REGISTER);
//     ZEL_LOG(net, tracing::Levels::LevelWARN, "%u packets lost", lost);

#ifndef ZELCOMMON_COMMON_TRACING_CHANNEL_H
#define ZELCOMMON_COMMON_TRACING_CHANNEL_H

#include <list>
#include <string>

#include <zel/attributes.h>

namespace tracing {

class IClient;

/// A channel. The client reads and writes the fields directly.
///
/// A logging call makes exactly one call on the channel's client, if there is one, and drops the
/// message otherwise, and also when there is no memory for its text. Only the `log` functions test
/// the filter level; the others are for callers that have done so. A form without `modifiers`
/// passes `Modifiers::NONE`. A text whose formatting fails is empty. A `timestamp` is passed on
/// unread.
///
/// Any thread may log, also while the client changes the level. Everything else is for the client,
/// or is serialised by it; before there is one, callers serialise the building and destroying of
/// registered channels. Not async-signal-safe.
class ZEL_EXPORT Channel
{
public:
    /// Bits of `m_flags`.
    enum : unsigned int {
        /// The constructor's name is the local name, one segment of a path, not the whole path.
        FLAG_LOCAL_NAME = 1,
        /// The channel registers with the `ChannelList` when built, and unregisters when destroyed.
        FLAG_REGISTER = 2,
    };

    /// `level` is kept for the client as the initial level; the filter level is `LevelOFF`. `flags`
    /// are the bits above. Without memory for the name it stays empty.
    Channel(const std::string& name, short level, unsigned int flags);
    /// Leaves parent and children as they are: putting the tree right is the client's work, which
    /// it does when it hears of the unregistration.
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Dissolves the tree below this channel: neither it nor any channel below it has a parent or
    /// children afterwards. The former parent still lists it.
    void detach();

    /// Returns the first child whose local name is `name`, or null.
    Channel* findChild(const std::string& name) const;

    /// Returns this channel or the first below it, a parent before its children, that has the id;
    /// null if there is none, and always for -1.
    Channel* findByChannelId(int id);

    /// Appends the path to `out`: the local names below the root, joined by "_". The root's own
    /// name is the root's path and in no other. Without memory for it `out` stays as it is.
    void fillPathString(std::string& out) const;
    /// Stores the path in `m_path`, which without memory for it stays as it is.
    void determinePathString();

    /// Returns the first filter level from this channel up that is not `LevelNONE`, or `LevelNONE`.
    short getValidFilterLevelAlongPath() const;

    /// Asks the client to change the level, which it may do by `setFilterLevel`. Returns its
    /// answer; false without a client.
    bool changeFilterLevel(short level);
    /// Stores the level; for the client.
    ZEL_ALWAYS_INLINE void setFilterLevel(short level)
    {
        __atomic_store_n(&m_filterLevel, level, __ATOMIC_RELAXED);
    }

    /// Asks the client to switch the channel on. Returns its answer; false without a client.
    bool enable();
    /// Asks the client to switch the channel off. Returns its answer; false without a client.
    bool disable();

    /// Returns whether a message of `level` passes the channel's own filter level. Inheritance is
    /// not followed: the client resolves it into `m_filterLevel`.
    ZEL_ALWAYS_INLINE bool passes(short level) const
    {
        return __atomic_load_n(&m_filterLevel, __ATOMIC_RELAXED) <= level;
    }

    /// Log `text` if the level passes.
    /// @{
    void log(short level, const std::string& text);
    void log(short level, short modifiers, const std::string& text);
    /// @}
    /// Log the terminated `text` if the level passes, as `logC`; nothing is built if it does not.
    /// @{
    void log(short level, const char* text)
    {
        if (passes(level)) logC(level, text);
    }
    void log(short level, short modifiers, const char* text)
    {
        if (passes(level)) logC(level, modifiers, text);
    }
    /// @}

    /// Log `text` whatever the filter.
    /// @{
    void logMessage(short level, const std::string& text);
    void logMessage(short level, short modifiers, const std::string& text);
    /// @}

    /// Log the terminated `text`. With a client, a null text throws the standard library's
    /// logic_error.
    /// @{
    void logC(short level, const char* text);
    void logC(short level, short modifiers, const char* text);
    /// @}

    /// Log a printf-style text, cut after 511 characters, without allocating more than the string
    /// that the client is given. The time-stamped form allocates nothing; the client copies.
    /// @{
    void logCV(short level, const char* format, ...) ZEL_PRINTF_FORMAT(3, 4);
    void logCV(short level, short modifiers, const char* format, ...) ZEL_PRINTF_FORMAT(4, 5);
    void logCV(short level, short modifiers, long long timestamp, const char* format, ...)
        ZEL_PRINTF_FORMAT(5, 6);
    /// @}

    /// Log a printf-style text, cut after `maxLength` - 1 characters (0 for 0), in a buffer that
    /// the client takes over.
    /// @{
    void logCVN(short level, unsigned int maxLength, const char* format, ...)
        ZEL_PRINTF_FORMAT(4, 5);
    void logCVN(short level, short modifiers, unsigned int maxLength, const char* format, ...)
        ZEL_PRINTF_FORMAT(5, 6);
    void logCVN(short level, short modifiers, long long timestamp, unsigned int maxLength,
                const char* format, ...) ZEL_PRINTF_FORMAT(6, 7);
    /// @}

    /// Log the bytes `data[0..size)`, of a type out of `MessageTypes`.
    /// @{
    void logRaw(short level, short messageType, short modifiers, const void* data,
                unsigned int size);
    void logRaw(short level, short messageType, const void* data, unsigned int size);
    /// @}

    /// Log pieces as one raw message: pairs of `const void*` and `unsigned int` (bytes; no other
    /// type of integer), ended by `nullptr`, not by 0. Without memory for the sum, or if it leaves
    /// 32 bits, nothing is logged.
    /// @{
    void logRawV(short level, short messageType, short modifiers, ...) ZEL_NULL_TERMINATED;
    void logRawV(short level, short messageType, ...) ZEL_NULL_TERMINATED;
    /// @}

    /// The client that serves the channel, not owned; null while no client has taken it in. Lives
    /// until this is null again, and no call is under way.
    IClient* m_client;
    /// The parent in the tree, not owned; null for a root.
    Channel* m_parent;
    /// The children, not owned, in the order in which they were put in.
    std::list<Channel*> m_children;
    /// The local name, one segment of the path.
    std::string m_name;
    /// The whole path.
    std::string m_path;
    /// The filter level. While others log, it is written by `setFilterLevel` alone.
    short m_filterLevel;
    /// The level given to the constructor, for the client.
    short m_initialLevel;
    /// The id that the client gave, or -1.
    int m_channelId;
    /// `FLAG_LOCAL_NAME` and `FLAG_REGISTER`.
    unsigned int m_flags;

private:
    ZEL_LOCAL void appendPath(std::string& out) const;
};

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_CHANNEL_H
