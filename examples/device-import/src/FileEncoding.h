// SPDX-License-Identifier: Apache-2.0
//
// The encodings of device lists: UTF-8, UTF-16 of either byte order, and UCS-4 of the machine's,
// told apart by the byte order mark at the beginning of a file.
//
//     const FileEncoding encoding = detectEncoding(head, sizeof(head));
//     const String line(block + encoding.markSize, *encoding.codec);
//     if (!checkDecodable(line)) ZEL_RAISE_ON(LineError, LINE_REJECTED, number);

#ifndef DEVICE_IMPORT_FILEENCODING_H
#define DEVICE_IMPORT_FILEENCODING_H

#include <common/unicode/Codec.h>
#include <common/unicode/String.h>

namespace deviceimport {

/// What the beginning of a file tells about the rest.
struct FileEncoding
{
    const std::unicode::Codec* codec = nullptr;
    /// Bytes of the byte order mark.
    unsigned int markSize = 0;
};

/// Bytes of the longest byte order mark.
constexpr unsigned int MAX_MARK = 4;

/// Returns the encoding of a file by its first `size` bytes; UTF-8 if they are no mark. A file
/// shorter than MAX_MARK has its size for that.
FileEncoding detectEncoding(const char* head, unsigned int size);

/// Returns true if `text` is made of whole characters, each as its encoding writes it: a form that
/// is too long, or a value beyond U+10FFFF, is no character here.
bool isDecodable(const std::unicode::String& text);

/// As above. Raises LineError LINE_UNDECODABLE, which names the first bytes that are no character,
/// with false.
bool checkDecodable(const std::unicode::String& line);

} // namespace deviceimport

#endif // DEVICE_IMPORT_FILEENCODING_H
