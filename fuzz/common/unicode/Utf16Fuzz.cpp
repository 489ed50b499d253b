// SPDX-License-Identifier: Apache-2.0

#include "CodecCheck.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const bool isBigEndian = input.below(2) == 1;
    fuzz::CodecCheck::run(isBigEndian ? fuzz::slow::UTF16BE : fuzz::slow::UTF16LE, input);
    return 0;
}
