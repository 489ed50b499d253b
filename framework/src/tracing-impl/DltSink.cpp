// SPDX-License-Identifier: Apache-2.0
//
// The sink for DLT: a module of its own, so that only those who ask for it need DLT's library.

#include "Sinks.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include <dlt/dlt.h>
#include <dlt/dlt_common.h>

#include <common/tracing/Levels.h>
#include <zel/attributes.h>

#include "DltIds.h"
#include "DltLibrary.h"
#include "DltRemote.h"

namespace tracing {
namespace impl {

namespace {

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
    if ((message.modifiers & Modifiers::OBFUSCATE) == 0) {
        text += message.payload;
        return text;
    }
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

class DltSink final : public Sink
{
public:
    /// Requires that DLT was started, and `remote` serves this sink.
    explicit DltSink(DltRemote& remote) : m_remote(remote) { m_ids.take(DltRemote::CONTROL_ID); }
    ~DltSink() override;

    void write(const Message& message) override;
    /// Hands what DLT holds back to the daemon, if there is one that takes it.
    void flush() override;
    void channelChanged(const std::string& path, short level) override;

private:
    /// A path's context. Without an id, or a place in DLT's table, it is not registered.
    struct Entry
    {
        std::string id;
        DltContext context = {};
        bool isRegistered = false;
    };

    Entry& entryOf(std::string_view path, short level);

    DltLibrary& m_library = DltLibrary::instance();
    DltRemote& m_remote;
    DltIds m_ids;
    /// By the paths. They stay when the channel goes: others may come with the same path.
    std::map<std::string, Entry, std::less<>> m_entries;
};

DltSink::~DltSink()
{
    m_remote.end();
    m_library.use([this] {
        for (auto& entry : m_entries)
            if (entry.second.isRegistered) dlt_unregister_context(&entry.second.context);
    });
    m_library.stop();
}

void DltSink::write(const Message& message)
{
    m_library.use([&] {
        Entry& entry = entryOf(message.path, message.level);
        if (!entry.isRegistered) throw std::runtime_error("DLT has no place for the channel");
        if (message.isRaw && (message.modifiers & Modifiers::OBFUSCATE) == 0)
            sendRaw(entry.context, message);
        else
            sendText(entry.context, message);
    });
}

void DltSink::flush()
{
    m_library.use([] { dlt_user_log_resend_buffer(); });
}

void DltSink::channelChanged(const std::string& path, short level)
{
    // A level that changes later matters to the channel alone, see send.
    m_library.use([&] { entryOf(path, level); });
}

/// Returns the entry of a path. What is not there of it yet is tried, with `level`; without memory
/// for that, the next time.
DltSink::Entry& DltSink::entryOf(std::string_view path, short level)
{
    const auto found = m_entries.find(path);
    Entry& entry = found != m_entries.end() ? found->second : m_entries[std::string(path)];
    if (entry.isRegistered) return entry;
    if (entry.id.empty()) entry.id = m_ids.take(path);
    if (entry.id.empty()) return entry;
    const std::string description(path.substr(0, MAX_DESCRIPTION));
    m_remote.add(entry.id, std::string(path));
    entry.isRegistered =
        dlt_register_context_ll_ts(&entry.context, entry.id.c_str(), description.c_str(),
                                   filterOf(level), DltRemote::REGISTERED) >= DLT_RETURN_OK &&
        entry.context.log_level_ptr != nullptr;
    if (entry.isRegistered)
        dlt_register_log_level_changed_callback(&entry.context, DltRemote::levelChanged);
    return entry;
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
    if (remote.isServing()) return nullptr;
    try {
        if (!library.start(context.processName)) return nullptr;
        auto sink = std::make_unique<DltSink>(remote);
        remote.begin(context.target);
        return sink.release();
    } catch (const std::exception&) {
        library.stop();
        return nullptr;
    }
}
