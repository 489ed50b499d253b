// SPDX-License-Identifier: Apache-2.0
//
// A slow model of the tree of channels: it keeps the paths alone, and computes every level afresh
// whenever it is asked.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWTREE_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWTREE_H

#include <algorithm>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>
#include <tracing-impl/Settings.h>

namespace support {

/// Stands for the root, which has no path.
constexpr const char* ROOT = "the root";

/// What the model knows of a channel that is in the tree.
struct Taken
{
    tracing::Channel* channel;
    int id;
    short initial;
    bool isOff;
};

/// A path that there is: its parent's, and its channels in the order in which they came.
struct Place
{
    std::string parent;
    std::vector<Taken> channels;
};

/// All beginnings of a path at which it may be parted, the longest first.
inline std::vector<std::string> beginningsOf(const std::string& path)
{
    std::vector<std::string> beginnings;
    for (std::size_t end = 1; end + 1 < path.size(); ++end)
        if (path[end] == '_' && path[end - 1] != '_')
            beginnings.insert(beginnings.begin(), path.substr(0, end));
    return beginnings;
}

inline bool isOwn(short level)
{
    return level >= 0 && level < 9 && level != tracing::Levels::LevelNONE;
}

/// The tree. Knows its paths, and nothing that follows from them.
class SlowTree
{
public:
    explicit SlowTree(tracing::impl::LevelSettings settings) : m_settings(std::move(settings)) {}

    void takeIn(tracing::Channel& channel, const std::string& path, bool isName)
    {
        addPlace(path, isName);
        m_places[path].channels.push_back({&channel, ++m_lastId, channel.m_initialLevel, false});
    }

    void release(const tracing::Channel& channel)
    {
        for (auto& place : m_places) {
            std::vector<Taken>& channels = place.second.channels;
            const auto isIt = [&](const Taken& taken) { return taken.channel == &channel; };
            channels.erase(std::remove_if(channels.begin(), channels.end(), isIt), channels.end());
        }
        while (removeOneInVain()) {}
    }

    bool setLevel(const std::string& path, short level)
    {
        if (m_places.count(path) == 0 || level < 0 || level > 9) return false;
        m_changed[path] = level;
        return true;
    }

    bool setEnabled(const tracing::Channel& channel, bool isEnabled)
    {
        for (auto& place : m_places)
            for (Taken& taken : place.second.channels)
                if (taken.channel == &channel) {
                    taken.isOff = !isEnabled;
                    return true;
                }
        return false;
    }

    /// Forgets all channels. Returns them in the order of their ids.
    std::list<tracing::Channel*> releaseAll()
    {
        std::map<int, tracing::Channel*> channels;
        for (const auto& place : m_places)
            for (const Taken& taken : place.second.channels)
                channels[taken.id] = taken.channel;
        m_places.clear();
        std::list<tracing::Channel*> inOrder;
        for (const auto& channel : channels)
            inOrder.push_back(channel.second);
        return inOrder;
    }

    /// A line for each channel: path, parent, id, own level and level in the end.
    std::string text() const
    {
        std::string text;
        for (const auto& place : m_places)
            for (const Taken& taken : place.second.channels)
                text += lineOf(place.first, place.second, taken);
        return text;
    }

private:
    void addPlace(const std::string& path, bool isName)
    {
        if (m_places.count(path) != 0) return;
        std::string parent = ROOT;
        const auto beginnings = isName ? std::vector<std::string>() : beginningsOf(path);
        if (!beginnings.empty()) {
            parent = beginnings.front();
            addMissing(beginnings);
        }
        m_places[path].parent = parent;
    }

    /// Adds those that are longer than the longest that there is.
    void addMissing(const std::vector<std::string>& beginnings)
    {
        for (std::size_t i = 0; i < beginnings.size(); ++i) {
            if (m_places.count(beginnings[i]) != 0) return;
            m_places[beginnings[i]].parent = i + 1 < beginnings.size() ? beginnings[i + 1] : ROOT;
        }
    }

    bool removeOneInVain()
    {
        for (const auto& place : m_places) {
            const auto isBelow = [&](const auto& other) {
                return other.second.parent == place.first;
            };
            if (!place.second.channels.empty()) continue;
            if (std::any_of(m_places.begin(), m_places.end(), isBelow)) continue;
            m_places.erase(place.first);
            return true;
        }
        return false;
    }

    /// The own level of a channel of the path, or "none".
    short ownLevel(const std::string& path, short initial) const
    {
        short level = tracing::Levels::LevelDEFAULT;
        if (m_settings.paths.count(path) != 0) level = m_settings.paths.find(path)->second;
        if (m_changed.count(path) != 0) level = m_changed.find(path)->second;
        if (level == tracing::Levels::LevelDEFAULT) level = initial;
        return isOwn(level) ? level : tracing::Levels::LevelNONE;
    }

    /// What is inherited from the path.
    short levelOf(const std::string& path) const
    {
        if (path == ROOT) {
            const short level = m_settings.root.value_or(tracing::Levels::LevelNONE);
            return isOwn(level) ? level : tracing::Levels::LevelWARN;
        }
        const Place& place = m_places.find(path)->second;
        const bool isMissing = place.channels.empty();
        const short own =
            ownLevel(path, isMissing ? tracing::Levels::LevelNONE : place.channels.front().initial);
        return own == tracing::Levels::LevelNONE ? levelOf(place.parent) : own;
    }

    std::string lineOf(const std::string& path, const Place& place, const Taken& taken) const
    {
        const short own = ownLevel(path, taken.initial);
        short level = own == tracing::Levels::LevelNONE ? levelOf(place.parent) : own;
        if (taken.isOff) level = tracing::Levels::LevelDISABLED;
        return path + " below " + place.parent + " id=" + std::to_string(taken.id) +
               " own=" + std::to_string(own) + " level=" + std::to_string(level) + "\n";
    }

    const tracing::impl::LevelSettings m_settings;
    std::map<std::string, Place> m_places;
    std::map<std::string, short> m_changed;
    int m_lastId = 0;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWTREE_H
