// SPDX-License-Identifier: Apache-2.0

#include "IconvErrors.h"

#include <iterator>

namespace zeliconv {

namespace {

constexpr std::ErrorID TEXT_TABLE[] = {
    {TEXT_MALFORMED, "%llu: malformed %s", 2},
    {TEXT_CUT_OFF, "%llu: malformed %s, cut off by the end", 2},
    {TEXT_UNSUPPORTED, "%llu: U+%04X cannot be converted", 2},
};

constexpr std::ErrorID FILE_TABLE[] = {
    {FILE_UNREAD, "cannot be read", 0},
    {FILE_UNWRITTEN, "cannot be written", 0},
    {FILE_UNCONVERTED, "cannot be converted", 0},
    {FILE_READ_AND_WRITTEN, "is the output as well", 0},
};

} // namespace

std::ErrorType TextError(TEXT_TABLE, std::size(TEXT_TABLE));
std::ErrorType FileError(FILE_TABLE, std::size(FILE_TABLE));

} // namespace zeliconv
