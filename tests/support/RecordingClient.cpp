// SPDX-License-Identifier: Apache-2.0

#include "support/RecordingClient.h"

#include <utility>

#include <common/tracing/Channel.h>

namespace support {

namespace {

/// What the four forms of a message have in common.
std::string message(const char* form, const tracing::Channel& channel, short level, short modifiers)
{
    return std::string(form) + " channel=" + channel.m_path + channel.m_name +
           " level=" + std::to_string(level) + " modifiers=" + std::to_string(modifiers);
}

std::string shown(const char* text)
{
    return text != nullptr ? text : "(null)";
}

std::string owned(bool isOwned)
{
    return isOwned ? " owned" : " lent";
}

} // namespace

RecordingClient::RecordingClient() = default;
RecordingClient::~RecordingClient() = default;

std::string RecordingClient::calls()
{
    return std::exchange(m_calls, std::string());
}

void RecordingClient::registerThread(const std::string& name)
{
    note("registerThread " + name);
}

void RecordingClient::unregisterThread()
{
    note("unregisterThread");
}

int RecordingClient::registerCallback(const std::string& name, Callback callback)
{
    note("registerCallback function " + name + (callback != nullptr ? "" : " null"));
    return status;
}

int RecordingClient::registerCallback(const std::string& name, tracing::CallbackObject* object)
{
    note("registerCallback object " + name + (object != nullptr ? "" : " null"));
    return status;
}

int RecordingClient::unregisterCallback(int callback)
{
    note("unregisterCallback " + std::to_string(callback));
    return status;
}

int RecordingClient::registerTimeZone(const std::string& name, int value)
{
    note("registerTimeZone " + name + " " + std::to_string(value));
    return status;
}

void RecordingClient::updateTimeZone(int zone, long long value)
{
    note("updateTimeZone " + std::to_string(zone) + " " + std::to_string(value));
}

void RecordingClient::emergencyLog(const std::string& text)
{
    note("emergencyLog " + text);
}

void RecordingClient::emergencyBreak()
{
    note("emergencyBreak");
}

bool RecordingClient::enableChannel(tracing::Channel* channel)
{
    note("enable " + channel->m_path);
    return answer;
}

bool RecordingClient::disableChannel(tracing::Channel* channel)
{
    note("disable " + channel->m_path);
    return answer;
}

bool RecordingClient::changeChannelFilterLevel(tracing::Channel* channel, short level)
{
    note("change " + channel->m_path + " " + std::to_string(level));
    return answer;
}

void RecordingClient::logMessage(const tracing::Channel& channel, short level, short modifiers,
                                 const std::string& text)
{
    note(message("string", channel, level, modifiers) + " text=" + text);
}

void RecordingClient::logMessage(const tracing::Channel& channel, short level, short messageType,
                                 short modifiers, const void* data, unsigned int size)
{
    note(message("raw", channel, level, modifiers) + " type=" + std::to_string(messageType) +
         " size=" + std::to_string(size) +
         " data=" + std::string(static_cast<const char*>(data), size));
}

void RecordingClient::logMessage(const tracing::Channel& channel, short level, short modifiers,
                                 char* text, bool takeOwnership)
{
    note(message("buffer", channel, level, modifiers) + owned(takeOwnership) +
         " text=" + shown(text));
    keep(text, takeOwnership);
}

void RecordingClient::logMessage(const tracing::Channel& channel, short level, short modifiers,
                                 long long timestamp, char* text, bool takeOwnership)
{
    note(message("stamped", channel, level, modifiers) + " time=" + std::to_string(timestamp) +
         owned(takeOwnership) + " text=" + shown(text));
    keep(text, takeOwnership);
}

void RecordingClient::flushMessages(bool value)
{
    note(value ? "flush true" : "flush false");
}

const std::string& RecordingClient::getClientId()
{
    note("getClientId");
    return id;
}

void RecordingClient::note(const std::string& call)
{
    if (!m_calls.empty()) m_calls += '\n';
    m_calls += call;
}

void RecordingClient::keep(char* text, bool takeOwnership)
{
    m_lastBuffer = text;
    if (takeOwnership) m_owned.emplace_back(text);
}

} // namespace support
