// SPDX-License-Identifier: Apache-2.0
//
// A stream buffer over binary streams and its slow model: the input tells the form of the buffer,
// the calls, and what the devices answer in each of them.

#include <deque>

#include <BufferMachine.h>
#include <Input.h>
#include <support/SlowBinBuffer.h>

namespace {

using fuzz::Input;
using support::DeviceAnswer;

constexpr unsigned int SIZES = 10;       // 0 to 9
constexpr unsigned int MOST_ANSWERS = 7; // to one call
constexpr unsigned int ROWS = 5;         // of StreamError

/// Takes a byte for the count, and one for what else the device does.
DeviceAnswer answerFrom(Input& input)
{
    DeviceAnswer answer;
    const unsigned int count = input.byte();
    answer.takesAll = count >= 0xC0;
    answer.count = count == 0xBF ? 4294967295U : count % 16;
    const unsigned int kind = input.byte();
    answer.bytes = fuzz::chosenText(input, kind % 8);
    if (kind < 0xA0) return answer;
    answer.fails = kind < 0xF0; // or an error without a failure
    answer.row = static_cast<int>(kind / 8 % (ROWS + 1)) - 1;
    return answer;
}

std::deque<DeviceAnswer> answersFrom(Input& input, unsigned int count)
{
    std::deque<DeviceAnswer> answers(count);
    for (DeviceAnswer& answer : answers)
        answer = answerFrom(input);
    return answers;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    support::BinBufferForm form;
    const unsigned int kind = input.byte();
    form.isOutside = kind % 2 == 1;
    form.hasInput = (kind & 0x70) != 0x10;
    form.hasOutput = (kind & 0x70) != 0x20;
    form.inputSize = input.below(SIZES);
    form.outputSize = input.below(SIZES);
    support::BinBufferPair pair(form);
    fuzz::runBuffer(input, pair, [&] {
        const unsigned int counts = input.byte();
        const std::deque<DeviceAnswer> readings = answersFrom(input, counts % (MOST_ANSWERS + 1));
        pair.setAnswers(readings, answersFrom(input, counts / 16 % (MOST_ANSWERS + 1)));
    });
    return 0;
}
