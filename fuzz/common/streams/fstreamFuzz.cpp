// SPDX-License-Identifier: Apache-2.0
//
// A stream buffer of files and its slow model: the input tells the form of the buffer, the calls,
// and what the file answers in each of them.

#include <deque>

#include <BufferMachine.h>
#include <Input.h>
#include <support/SlowFileBuf.h>

namespace {

using fuzz::Input;
using support::FileAnswer;
using support::FileBufForm;

constexpr unsigned int SIZES = 10;       // 0 to 9
constexpr unsigned int MOST_ANSWERS = 7; // to one call

/// Takes a byte for the bytes, and one for the count.
FileAnswer answerFrom(Input& input, bool hasError)
{
    FileAnswer answer;
    const unsigned int kind = input.byte();
    answer.fails = kind >= 0xC0;
    answer.bytes = fuzz::chosenText(input, kind % 16);
    answer.count = static_cast<int>(kind % 16);
    const unsigned int count = input.byte();
    if (count >= 0x80) answer.count = static_cast<int>(count % 32) - 1;
    if (count >= 0xF8) answer.count = support::ScriptedFile::RESET_WINDOWS;
    // The report of a count that is less than all would show the pending error.
    if (count == 0xFF && !hasError) answer.count = -2;
    return answer;
}

std::deque<FileAnswer> answersFrom(Input& input, bool hasError)
{
    std::deque<FileAnswer> answers(input.below(MOST_ANSWERS + 1));
    for (FileAnswer& answer : answers)
        answer = answerFrom(input, hasError);
    return answers;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    FileBufForm form;
    const unsigned int kind = input.byte();
    form.isIn = kind % 4 != 1;
    form.isOut = kind % 4 != 2;
    form.hasError = kind / 4 % 2 == 1;
    form.memory = static_cast<FileBufForm::Memory>(kind / 8 % 3);
    form.size = input.below(SIZES);
    support::FileBufPair pair(form);
    fuzz::runBuffer(input, pair, [&] { pair.setAnswers(answersFrom(input, form.hasError)); });
    return 0;
}
