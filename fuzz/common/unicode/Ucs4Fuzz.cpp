// SPDX-License-Identifier: Apache-2.0

#include "CodecCheck.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    fuzz::CodecCheck::run(fuzz::slow::UCS4, input);
    return 0;
}
