// SPDX-License-Identifier: Apache-2.0
//
// Makes the calls that an input tells on a stream buffer and on its model, and compares what they
// return, the state that they leave, and what is printed.

#ifndef ZELCOMMON_FUZZ_BUFFERMACHINE_H
#define ZELCOMMON_FUZZ_BUFFERMACHINE_H

#include <limits>
#include <string>

#include <CapturedStream.h>
#include <Input.h>
#include <support/StreamBufCalls.h>

namespace fuzz {

constexpr unsigned int MOST_STEPS = 24;

/// Numbers and white space among others, so that formatted input finds both.
inline std::string chosenText(Input& input, unsigned int size)
{
    const char characters[] = "0179-+ \nax\xFF\x80\0";
    std::string text;
    while (text.size() < size)
        text += characters[input.below(sizeof characters - 1)];
    return text;
}

/// An offset near 0, or the least or the greatest.
inline long long offsetFrom(Input& input)
{
    const unsigned int byte = input.byte();
    if (byte == 0xFE) return std::numeric_limits<long long>::min();
    if (byte == 0xFF) return std::numeric_limits<long long>::max();
    return static_cast<long long>(byte % 32) - 16;
}

inline support::BufferCall callFrom(Input& input)
{
    const auto kind = static_cast<support::StreamCall>(input.below(support::ALL_CALLS));
    const unsigned int form = input.byte();
    const unsigned int size = 1 + form % 20;
    const std::string text =
        form < 128 ? chosenText(input, size) : std::string(size, static_cast<char>(form));
    return {kind, text, offsetFrom(input)};
}

/// `prepare` reads the answers of the devices of the next call.
template <typename Pair, typename Prepare>
void runBuffer(Input& input, Pair& pair, Prepare prepare)
{
    CapturedStderr printed;
    for (unsigned int i = 0; i < MOST_STEPS && !input.isEmpty(); ++i) {
        const support::BufferCall call = callFrom(input);
        prepare();
        requireSame(pair.callModel(call), pair.callBuffer(call));
        requireSame(pair.takeWarnings(), printed.take());
    }
}

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_BUFFERMACHINE_H
