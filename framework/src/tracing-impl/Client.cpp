// SPDX-License-Identifier: Apache-2.0

#include "Client.h"

#include <csignal>
#include <cstring>
#include <ctime>
#include <new>
#include <utility>

#include <common/tracing/Levels.h>

#include "CurrentThread.h"
#include "Printable.h"
#include "StderrSink.h"

namespace tracing {
namespace impl {

namespace {

/// Serves a channel of a process that was forked off.
void adopt(Channel& channel, IClient& client)
{
    const short initial = channel.m_initialLevel;
    const bool hasLevel = initial >= Levels::LevelTRACE && initial <= Levels::LevelDISABLED &&
                          initial != Levels::LevelNONE;
    channel.m_client = &client;
    channel.setFilterLevel(hasLevel ? initial : Levels::LevelWARN);
}

/// Returns a message of `channel` that the calling thread logs now, without its payload.
Message messageOf(const Channel& channel, short level, short modifiers)
{
    Message message = {};
    message.path = channel.m_path.empty() ? channel.m_name : channel.m_path;
    message.level = level;
    message.modifiers = modifiers;
    clock_gettime(CLOCK_REALTIME, &message.time);
    message.threadId = currentThreadId();
    message.threadName = currentThreadName();
    return message;
}

} // namespace

Client::Client(const std::string& name, LevelSettings levels, std::size_t queueLength,
               TimeZones& zones)
    : m_name(name), m_zones(zones), m_dispatcher(queueLength),
      m_tree(m_name, *this, std::move(levels), m_dispatcher)
{}

Client::~Client()
{
    m_dispatcher.stop(); // before the tree goes, which sinks may ask for
}

void Client::registerThread(const std::string& name)
{
    nameCurrentThread(name);
}

void Client::unregisterThread()
{
    nameCurrentThread("");
}

int Client::registerCallback(const std::string& name, Callback callback)
{
    return isForked() ? -1 : m_callbacks.add(name, callback);
}

int Client::registerCallback(const std::string& name, CallbackObject* object)
{
    return isForked() ? -1 : m_callbacks.add(name, object);
}

int Client::unregisterCallback(int id)
{
    return isForked() ? -1 : m_callbacks.remove(id);
}

int Client::registerTimeZone(const std::string& name, int value)
{
    return isForked() ? -1 : m_zones.add(name, value);
}

void Client::updateTimeZone(int id, long long value)
{
    if (!isForked()) m_zones.update(id, value);
}

void Client::emergencyLog(const std::string& text)
{
    try {
        writeToStderr(printable(text) + "\n");
    } catch (const std::bad_alloc&) {
        writeToStderr(text);
        writeToStderr("\n");
    }
}

void Client::emergencyBreak()
{
    m_dispatcher.flush(true);
    std::raise(SIGTRAP);
}

bool Client::enableChannel(Channel* channel)
{
    return channel != nullptr && !isForked() && m_tree.setEnabled(*channel, true);
}

bool Client::disableChannel(Channel* channel)
{
    return channel != nullptr && !isForked() && m_tree.setEnabled(*channel, false);
}

bool Client::changeChannelFilterLevel(Channel* channel, short level)
{
    return channel != nullptr && !isForked() && m_tree.setLevel(*channel, level);
}

void Client::logMessage(const Channel& channel, short level, short modifiers,
                        const std::string& text)
{
    Message message = messageOf(channel, level, modifiers);
    message.payload = text;
    m_dispatcher.put(message, nullptr);
}

void Client::logMessage(const Channel& channel, short level, short messageType, short modifiers,
                        const void* data, unsigned int size)
{
    Message message = messageOf(channel, level, modifiers);
    message.isRaw = true;
    message.messageType = messageType;
    if (data != nullptr) message.payload = {static_cast<const char*>(data), size};
    m_dispatcher.put(message, nullptr);
}

void Client::logMessage(const Channel& channel, short level, short modifiers, char* text,
                        bool takeOwnership)
{
    Message message = messageOf(channel, level, modifiers);
    putText(message, text, takeOwnership);
}

void Client::logMessage(const Channel& channel, short level, short modifiers, long long timestamp,
                        char* text, bool takeOwnership)
{
    Message message = messageOf(channel, level, modifiers);
    message.hasStamp = true;
    message.stamp = timestamp;
    putText(message, text, takeOwnership);
}

/// Puts `text`, which is terminated, or null: that is no message.
void Client::putText(Message& message, char* text, bool takeOwnership)
{
    if (text == nullptr) return;
    message.payload = text;
    m_dispatcher.put(message, OwnedText(takeOwnership ? text : nullptr));
}

void Client::flushMessages(bool value)
{
    m_dispatcher.flush(value);
}

const std::string& Client::getClientId()
{
    return m_name;
}

void Client::channelRegistered(Channel* channel)
{
    if (isForked())
        adopt(*channel, *this);
    else
        m_tree.takeIn(*channel);
}

void Client::channelUnregistered(Channel* channel)
{
    if (!isForked()) m_tree.release(*channel);
}

std::vector<ChannelState> Client::channels()
{
    return m_tree.states();
}

bool Client::setLevel(const std::string& path, short level)
{
    return m_tree.setLevel(path, level);
}

bool Client::call(const std::string& name, std::string bytes)
{
    return m_callbacks.call(name, std::move(bytes));
}

} // namespace impl
} // namespace tracing
