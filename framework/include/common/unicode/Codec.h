// SPDX-License-Identifier: Apache-2.0
//
// Codecs turn bytes into code points and back. The library's four are objects with one address
// each, by which they are compared: two strings share an encoding when they point at the same
// codec. Nothing here fails: what cannot be decoded or encoded becomes U+FFFD.
//
//     std::unicode::Codec::Index at;
//     unsigned int c = 0;
//     while (std::unicode::UTF8.read_forward(data, size, at, 1, c) == 1) use(c);

#ifndef ZELCOMMON_COMMON_UNICODE_CODEC_H
#define ZELCOMMON_COMMON_UNICODE_CODEC_H

#include <common/buffers.h>
#include <zel/attributes.h>

namespace std::unicode {

/// U+FEFF, the byte order mark. The codecs do not look for it.
ZEL_EXPORT extern const unsigned int BOM;
/// 0xFFFE, the byte order mark as read in the wrong order.
ZEL_EXPORT extern const unsigned int MOB;
/// U+FFFD, which stands for what cannot be decoded or encoded.
ZEL_EXPORT extern const unsigned int REPLACEMENT_CHAR;

/// An encoding. Data are the bytes `data[0..size)`; nothing outside them is touched. Called by
/// slot. A caller's own codec must outlive every string that uses it. Any thread.
class ZEL_EXPORT Codec
{
public:
    /// A position in encoded bytes.
    struct Index
    {
        /// Characters before the position.
        unsigned int chars = 0;
        /// Bytes before the position.
        unsigned int bytes = 0;
    };

    constexpr Codec() = default;
    virtual ~Codec();

    /// Returns the code point at `at`, without moving; U+FFFD where there is none or it is
    /// malformed.
    virtual unsigned int read(const unsigned char* data, unsigned int size,
                              const Index& at) const = 0;

    /// Moves `at` over `n` characters and stores the last of them in `last`.
    /// Returns 1 if all of them were passed.
    /// Returns 0 if the data end before that; `at` stays after the last one that was passed, and
    /// `last` is that one, or untouched if there is none. Also for `n` = 0. UTF-8 replaces an
    /// encoded surrogate only in the first case.
    virtual unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                                      unsigned int n, unsigned int& last) const = 0;

    /// Encodes `c` at `at` and moves `at` over it.
    /// Returns 1 if it is written.
    /// Returns 0 if it does not fit, `at` is unchanged then; or if U+FFFD is written instead.
    virtual unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                                       unsigned int c) const = 0;

    /// Returns the bytes that `write_forward` uses for `c`, or more: for what it replaces or leaves
    /// out it may use fewer.
    virtual unsigned int encoded_bytes(unsigned int c) const = 0;

    /// Returns the position of character number `i`, or where the data end before that.
    virtual Index at(const unsigned char* data, unsigned int size, unsigned int i) const;

    /// Returns a fresh block with the text of `data[0..size)` in the encoding `target`, cut after
    /// the last whole character with which it has at most `max_bytes` bytes; uncut for the largest
    /// value. The caller owns the reference. The null buffer if there is no memory, or if the bytes
    /// leave 32 bits. What a caller's own codec throws passes on.
    SharedBuf to(const Codec& target, const unsigned char* data, unsigned int size,
                 unsigned int max_bytes) const;
};

/// UTF-8 in its early form: one to six bytes, values up to 0x7FFFFFFF, overlong forms accepted.
class ZEL_EXPORT Utf8 : public Codec
{
public:
    constexpr Utf8() = default;
    ~Utf8() override;

    /// Returns the length that a lead byte announces, 1 to 6; 0 for a continuation byte, and -1 for
    /// 0xFE and 0xFF.
    static int type(unsigned char byte);

    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override;
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override;
    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override;
    unsigned int encoded_bytes(unsigned int c) const override;
};

/// UTF-16. A high surrogate takes the unit behind it along, whatever that is.
class ZEL_EXPORT Utf16 : public Codec
{
public:
    /// See `big_endian`.
    explicit constexpr Utf16(bool isBigEndian) : big_endian(isBigEndian) {}
    ~Utf16() override;

    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override;
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override;
    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override;
    unsigned int encoded_bytes(unsigned int c) const override;

    /// Whether each unit is stored with its high byte first.
    const bool big_endian;
};

/// 32-bit values in the machine's byte order, unbounded.
///
/// Unlike the others it writes nothing for a value that it replaces, and moves on also where there
/// is no room.
class ZEL_EXPORT Ucs4 : public Codec
{
public:
    constexpr Ucs4() = default;
    ~Ucs4() override;

    unsigned int read(const unsigned char* data, unsigned int size, const Index& at) const override;
    /// Returns 0 at the end of the data also for `n` = 0. If fewer than `n` values are left, moves
    /// to the end of the data and reads none.
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override;
    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override;
    unsigned int encoded_bytes(unsigned int c) const override;
    Index at(const unsigned char* data, unsigned int size, unsigned int i) const override;
};

/// The library's codecs, one object of each for the whole process, from its load to its end.
/// @{
ZEL_EXPORT extern const Utf8 UTF8;
ZEL_EXPORT extern const Utf16 UTF16LE;
ZEL_EXPORT extern const Utf16 UTF16BE;
ZEL_EXPORT extern const Ucs4 UCS4;
/// @}

/// UTF-16 in the machine's byte order: `UTF16LE`.
ZEL_EXPORT extern const Codec& UTF16MACHINE;
/// The encoding of `wchar_t` text: `UCS4`.
ZEL_EXPORT extern const Codec& WSTRING;
/// The encoding of `char` text: `UTF8`.
ZEL_EXPORT extern const Codec& NATIVE;

static_assert(sizeof(wchar_t) == 4, "wide characters are UCS-4 values");
static_assert(sizeof(unsigned int) == 4, "code points are 32-bit values");

} // namespace std::unicode

#endif // ZELCOMMON_COMMON_UNICODE_CODEC_H
