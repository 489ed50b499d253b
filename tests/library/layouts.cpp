// SPDX-License-Identifier: Apache-2.0
//
// Where the records' fields are on 32-bit ARM: what was built there with other headers of the same
// interface reads and writes them. Compiled without access control, for that target alone.

#include <zelcommon.h>

#include <cstddef>

#include <common/BinBuffer.h>
#include <common/UUID.h>
#include <common/streams/fstream.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/TraceBuffer.h>
#include <common/unicode/String.h>
#include <threadsafe/ConditionImpl-posix.h>

static_assert(sizeof(void*) == 4 && sizeof(pthread_mutex_t) == 24 && sizeof(pthread_cond_t) == 48);

// Time and threads.
static_assert(offsetof(zelbase::TimePoint, m_milliseconds) == 0);
static_assert(offsetof(zelbase::Duration, m_milliseconds) == 0);
static_assert(offsetof(threadsafe::MutexImpl, m_mutex) == 0 && sizeof(threadsafe::MutexImpl) == 24);
static_assert(offsetof(threadsafe::ConditionImpl, m_condition) == 0);
static_assert(offsetof(threadsafe::ConditionImpl, m_mutex) == 48);
static_assert(sizeof(threadsafe::ConditionImpl) == 56);
static_assert(offsetof(threadsafe::TlsImpl, m_key) == 0 && sizeof(threadsafe::TlsImpl) == 4);

// Errors; the storage and the objects are held where their sources are.
static_assert(offsetof(std::ErrorID, id) == 0 && offsetof(std::ErrorID, message) == 4);
static_assert(offsetof(std::ErrorID, argCount) == 8 && sizeof(std::ErrorID) == 12);
static_assert(offsetof(std::ErrorType, m_idtable) == 0 && offsetof(std::ErrorType, m_parent) == 4);
static_assert(offsetof(std::ErrorType, m_count) == 8 && sizeof(std::ErrorType) == 12);
static_assert(offsetof(std::ErrorObject, m_type) == 0 && offsetof(std::ErrorObject, m_id) == 4);
static_assert(offsetof(std::ErrorObject, m_file) == 8 && offsetof(std::ErrorObject, m_line) == 12);
static_assert(offsetof(std::ErrorObject, m_process) == 280);
static_assert(offsetof(std::ErrorOutput, m_file) == 0 && offsetof(std::ErrorOutput, m_line) == 4);
static_assert(offsetof(std::ErrorOutput, m_raise) == 8 && sizeof(std::ErrorOutput) == 12);

// Tracing.
static_assert(offsetof(tracing::Channel, m_client) == 0);
static_assert(offsetof(tracing::Channel, m_parent) == 4);
static_assert(offsetof(tracing::Channel, m_children) == 8);
static_assert(offsetof(tracing::Channel, m_name) == 20);
static_assert(offsetof(tracing::Channel, m_path) == 44);
static_assert(offsetof(tracing::Channel, m_filterLevel) == 68);
static_assert(offsetof(tracing::Channel, m_initialLevel) == 70);
static_assert(offsetof(tracing::Channel, m_channelId) == 72);
static_assert(offsetof(tracing::Channel, m_flags) == 76 && sizeof(tracing::Channel) == 80);
static_assert(offsetof(tracing::SharedChannelEntry, count) == 0);
static_assert(offsetof(tracing::SharedChannelEntry, channel) == 4);
static_assert(sizeof(tracing::SharedChannelEntry) == 8 && sizeof(tracing::SharedChannelMap) == 24);
static_assert(offsetof(tracing::SharedChannelPtr, m_channel) == 0);
static_assert(offsetof(tracing::SharedChannelPtr, m_name) == 4);
static_assert(offsetof(tracing::SharedChannelPtr, m_hasUse) == 28);
static_assert(sizeof(tracing::SharedChannelPtr) == 32);
static_assert(offsetof(tracing::ChannelList, m_channels) == 0);
static_assert(offsetof(tracing::ChannelList, m_listener) == 12 &&
              sizeof(tracing::ChannelList) == 16);
static_assert(offsetof(tracing::TraceBuffer, m_channel) == 0);
static_assert(offsetof(tracing::TraceBuffer, m_buffer) == 4);
static_assert(offsetof(tracing::TraceBuffer, m_level) == 28 && sizeof(tracing::TraceBuffer) == 32);

// Blocks and texts.
static_assert(offsetof(std::SharedBuf, data) == 0 && offsetof(std::SharedBuf, allocator) == 4);
static_assert(offsetof(std::SharedBuf, base) == 8 && offsetof(std::SharedBuf, size) == 12);
static_assert(offsetof(std::SharedBuf, offset) == 16 && sizeof(std::SharedBuf) == 20);
static_assert(sizeof(std::Ptr) == 12 && sizeof(std::Buf) == 16);
static_assert(offsetof(std::unicode::Utf16, big_endian) == 4 && sizeof(std::unicode::Utf16) == 8);
static_assert(offsetof(std::unicode::Codec::Index, chars) == 0);
static_assert(offsetof(std::unicode::Codec::Index, bytes) == 4);
static_assert(offsetof(std::unicode::String, m_codec) == 0);
static_assert(offsetof(std::unicode::String, m_buffer) == 4);
static_assert(offsetof(std::unicode::String, m_count) == 24 && sizeof(std::unicode::String) == 28);
static_assert(offsetof(std::unicode::String::Iterator, string) == 0);
static_assert(offsetof(std::unicode::String::Iterator, position) == 4);
static_assert(sizeof(std::unicode::String::Iterator) == 12);
static_assert(offsetof(std::unicode::String::Spliterator, m_text) == 0);
static_assert(offsetof(std::unicode::String::Spliterator, m_separator) == 28);
static_assert(offsetof(std::unicode::String::Spliterator, m_begin) == 56);
static_assert(offsetof(std::unicode::String::Spliterator, m_end) == 68);
static_assert(offsetof(std::unicode::String::Spliterator, m_isDone) == 80);
static_assert(sizeof(std::unicode::String::Spliterator) == 84);

// Streams and identifiers. A stream's fields stand behind its table.
static_assert(offsetof(std::IBinStreamBase, blocking) == 4 && sizeof(std::IBinStreamBase) == 8);
static_assert(sizeof(std::IBinInputStream) == 28 && sizeof(std::IBinOutputStream) == 28);
static_assert(offsetof(std::IBinInputStream, readPos) == 4);
static_assert(offsetof(std::IBinInputStream, readEnd) == 8);
static_assert(offsetof(std::IBinInputStream, bufferSize) == 12);
static_assert(offsetof(std::IBinInputStream, buffer) == 16);
static_assert(offsetof(std::IBinOutputStream, writePos) == 4);
static_assert(offsetof(std::IBinOutputStream, writeEnd) == 8);
static_assert(offsetof(std::IBinOutputStream, bufferSize) == 12);
static_assert(offsetof(std::IBinOutputStream, buffer) == 16);
static_assert(offsetof(std::BinBuffer, input) == 32 && offsetof(std::BinBuffer, output) == 36);
static_assert(offsetof(std::BinBuffer, inputSize) == 40);
static_assert(offsetof(std::BinBuffer, outputSize) == 44);
static_assert(offsetof(std::BinBuffer, inputBuffer) == 48);
static_assert(offsetof(std::BinBuffer, outputBuffer) == 52);
static_assert(offsetof(std::BinBuffer, ownsInputBuffer) == 56);
static_assert(offsetof(std::BinBuffer, ownsOutputBuffer) == 57 && sizeof(std::BinBuffer) == 60);
static_assert(offsetof(std::filebuf_base, buffer) == 32);
static_assert(offsetof(std::filebuf_base, bufferSize) == 36);
static_assert(offsetof(std::filebuf_base, mode) == 40);
static_assert(offsetof(std::filebuf_base, userBuffer) == 44);
static_assert(offsetof(std::filebuf_base, reading) == 45);
static_assert(offsetof(std::filebuf_base, writing) == 46 && sizeof(std::filebuf_base) == 48);
static_assert(offsetof(std::UUID, m_invalid) == 0 && offsetof(std::UUID, m_value) == 4);
static_assert(sizeof(std::UUID) == 20);
static_assert(offsetof(std::UUIDValue, timeLow) == 0 && offsetof(std::UUIDValue, timeMid) == 4);
static_assert(offsetof(std::UUIDValue, timeHiAndVersion) == 6);
static_assert(offsetof(std::UUIDValue, clockSeq) == 8 && offsetof(std::UUIDValue, node) == 10);
