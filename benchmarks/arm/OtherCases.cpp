// SPDX-License-Identifier: Apache-2.0

#include <cstring>
#include <ctime>

#include <zelcommon.h>

#include "Bracket.h"
#include "Cases.h"

/// Stands in for the system's, for the library as well: the time is always the same, as the
/// instructions of a division depend on it, and what counts is what the library adds to the call.
extern "C" int clock_gettime(clockid_t, timespec* reading) noexcept
{
    *reading = {86399, 678901234};
    return 0;
}

namespace {

constexpr unsigned int BUFFER_SIZE = 4096;
constexpr unsigned int LARGEST_TRANSFER = 64;

/// Takes everything.
class Drain : public std::IBinOutputStream
{
public:
    Drain() : IBinOutputStream(true, BUFFER_SIZE) {}

protected:
    bool performWrite(const void*, unsigned int size, unsigned int& written) override
    {
        written = size;
        return false;
    }
};

/// Delivers zeros.
class Source : public std::IBinInputStream
{
public:
    Source() : IBinInputStream(true, BUFFER_SIZE) {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        std::memset(data, 0, size);
        got = size;
        return false;
    }
};

// The buffers are neither full nor empty when it counts.
static_assert((counts::WARM_UPS + 1) * LARGEST_TRANSFER < BUFFER_SIZE, "no transfer is counted");

void transfer(unsigned int size)
{
    char data[LARGEST_TRANSFER] = {};
    Drain drain;
    counts::measure("stream/write/" + std::to_string(size), 1, [&] {
        unsigned int written = 0;
        drain.write(data, size, written);
        counts::keep(written);
    });
    Source source;
    counts::measure("stream/read/" + std::to_string(size), 1, [&] {
        unsigned int got = 0;
        source.read(data, size, got);
        counts::keep(data);
    });
}

} // namespace

void counts::uuids()
{
    const std::string text = "123e4567-e89b-12d3-a456-426614174000";
    const std::UUID id(text);
    std::UUID other(id);
    char chars[std::UUID::TEXT_LENGTH];
    measure("uuid/parse", 1, [&] {
        other.parse(text);
        keep(other);
    });
    measure("uuid/toChars", 1, [&] {
        id.toChars(chars);
        keep(chars);
    });
    measure("uuid/toString", 1, [&] { keep(id.toString()); });
    measure("uuid/compare", 1, [&] { keep(id.compare(other)); });
}

void counts::streams()
{
    for (const unsigned int size : {1U, 16U, LARGEST_TRANSFER})
        transfer(size);
    Drain drain;
    std::BinBuffer buffer(drain, BUFFER_SIZE);
    measure("stream/character", 1, [&] { keep(buffer.sputc('x')); });
}

void counts::threads()
{
    zel::Mutex mutex;
    measure("thread/mutex", 1, [&] {
        mutex.lock();
        keep(mutex);
        mutex.unlock();
    });
    measure("thread/clock", 1, [] { keep(zelbase::TimePoint::now()); });
}
