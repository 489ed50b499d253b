// SPDX-License-Identifier: Apache-2.0
//
// tracing::TraceBuffer collects one trace line from pieces, each at a level of its own, and sends
// it as one message at the highest level of those that passed the channel's filter.
//
//     tracing::TraceBuffer line(&net);
//     line.append(tracing::Levels::LevelINFO, "closed");
//     if (lost > 0) line.appendf(tracing::Levels::LevelWARN, ", %u packets lost", lost);

#ifndef ZELCOMMON_COMMON_TRACING_TRACEBUFFER_H
#define ZELCOMMON_COMMON_TRACING_TRACEBUFFER_H

#include <string>

#include <zel/attributes.h>

namespace tracing {

class Channel;

/// One line. Belongs to one thread at a time. Not copyable.
///
/// Formatted pieces are cut after 511 characters. Where a level is given, the operation asserts
/// that it is at most `LevelFATAL` ("level <= Levels::LevelFATAL"), then goes on with it. A null
/// text or format is asserted and changes nothing. A piece for which there is no memory is dropped,
/// and its level with it. A line beyond `std::string`'s limit throws the standard library's
/// length_error.
class ZEL_EXPORT TraceBuffer
{
public:
    /// An empty line for `channel`, which is not owned and must outlive this object.
    /// Asserts that `channel` is not null ("m_channel"), then goes on with a line that lets nothing
    /// with a level pass and is never sent.
    TraceBuffer(Channel* channel);
    /// Sends what is pending. Whatever that throws ends here; the thread's cancellation is put off
    /// for as long as it takes.
    ~TraceBuffer();
    TraceBuffer(const TraceBuffer&) = delete;
    TraceBuffer& operator=(const TraceBuffer&) = delete;

    /// Add a piece whatever the filter; the line's level stays as it is. A line of such pieces
    /// alone is sent at `LevelTRACE`.
    /// @{
    void append(const char* text);
    void appendf(const char* format, ...) ZEL_PRINTF_FORMAT(2, 3);
    /// @}

    /// Add a piece if `level` passes the channel's filter, and raise the line's level to it; leave
    /// the line as it is otherwise.
    /// @{
    void append(short level, const char* text);
    void appendf(short level, const char* format, ...) ZEL_PRINTF_FORMAT(3, 4);
    /// @}

    /// Start the line anew with this piece and level if `level` passes the channel's filter; reset
    /// it otherwise.
    /// @{
    void set(short level, const char* text);
    void setf(short level, const char* format, ...) ZEL_PRINTF_FORMAT(3, 4);
    /// @}

    /// Empties the line and sets its level to `LevelTRACE`.
    void reset();

    /// Sends the line, unless it is empty or its level does not pass the channel's filter; resets
    /// it in any case.
    void print();

private:
    ZEL_LOCAL bool passes(short level) const;
    /// Returns whether there was memory for it.
    ZEL_LOCAL bool add(const char* text);
    ZEL_LOCAL void raiseLevel(short level);

    Channel* m_channel;
    std::string m_buffer;
    short m_level;
};

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_TRACEBUFFER_H
