// SPDX-License-Identifier: Apache-2.0

#include <common/IBinStreamBase.h>

#include <iterator>

#include "../zelbase/constantInit.h"

namespace std {

namespace {

// "occured" is kept: tools match the text.
constexpr ErrorID STREAM_TABLE[] = {
    {0, "the binary i/o stream is broken", 0},
    {1, "a binary i/o stream operation failed", 0},
    {2, "end of binary i/o stream has been reached. no more i/o possible", 0},
    {3, "the requested operation is not supported by the binary i/o stream implementation", 0},
    {4, "an unknown error has occured on the binary i/o stream", 0},
};

} // namespace

ZELCOMMON_CONSTANT_INIT ErrorType IBinStreamBase::StreamError(STREAM_TABLE,
                                                              std::size(STREAM_TABLE));

IBinStreamBase::~IBinStreamBase() = default;

} // namespace std
