// SPDX-License-Identifier: Apache-2.0
//
// The errors of a conversion, by whose fault it is.

#ifndef ZEL_ICONV_ICONVERRORS_H
#define ZEL_ICONV_ICONVERRORS_H

#include <common/error/ErrorType.h>

namespace zeliconv {

/// The input is not what it is said to be.
extern std::ErrorType TextError;
/// A file, the system or the memory has failed.
extern std::ErrorType FileError;

/// Rows of TextError, with their values.
enum {
    TEXT_MALFORMED,   ///< unsigned long long offset in bytes, const char* encoding
    TEXT_CUT_OFF,     ///< the same
    TEXT_UNSUPPORTED, ///< unsigned long long offset in bytes, unsigned int code point
};

/// Rows of FileError, none with values.
enum {
    FILE_UNREAD,
    FILE_UNWRITTEN,
    FILE_UNCONVERTED,
    FILE_READ_AND_WRITTEN,
};

} // namespace zeliconv

#endif // ZEL_ICONV_ICONVERRORS_H
