// SPDX-License-Identifier: Apache-2.0
//
// std::UUID: a 128-bit identifier in the field layout of RFC 4122. It generates none: the bytes of
// a new one come from the caller.
//
//     std::UUID id("123e4567-e89b-12d3-a456-426614174000");
//     if (id.isInvalid()) return false;
//     puts(id.toString().c_str());

#ifndef ZELCOMMON_COMMON_UUID_H
#define ZELCOMMON_COMMON_UUID_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace std {

/// The value of a UUID, for storage in other records. Numbers in host byte order.
struct UUIDValue
{
    /// The low 32 bits of the time.
    uint32_t timeLow;
    /// The middle 16 bits of the time.
    uint16_t timeMid;
    /// The version in the top four bits, then the high 12 bits of the time.
    uint16_t timeHiAndVersion;
    /// The high byte with the variant's bits, then the low byte.
    uint16_t clockSeq;
    /// In the order of transmission.
    uint8_t node[6];
};

static_assert(sizeof(UUIDValue) == 16, "the 128 bits and nothing beside");

/// A value and a flag that tells whether the last text was malformed. The flag stays with its
/// object: it takes no part in copies, comparison and exchange. Not thread-safe.
class ZEL_EXPORT UUID
{
public:
    /// The kinds of RFC 4122, section 4.1.3.
    enum Version {
        TIME_BASED = 1,   ///< from the time and the node
        DCE_SECURITY = 2, ///< from the time and the node, with a POSIX id within
        NAME_MD5 = 3,     ///< from a name, by MD5
        RANDOM = 4,       ///< from random numbers
        NAME_SHA1 = 5,    ///< from a name, by SHA-1
    };

    /// The layouts of RFC 4122, section 4.1.1, by the top bits of the clock sequence.
    enum Variant {
        VARIANT_NCS = 0,       ///< bits 0xx, of the older NCS
        VARIANT_RFC4122 = 2,   ///< bits 10x, of the RFC itself
        VARIANT_MICROSOFT = 6, ///< bits 110, of Microsoft's older GUIDs
        VARIANT_RESERVED = 7,  ///< bits 111, for the future
    };

    /// Characters of the text form.
    static constexpr unsigned int TEXT_LENGTH = 36;

    /// Row 0, without values: "Syntax error UUID".
    static const ErrorID ERROR_TABLE[1];
    /// What `parse` raises.
    static ErrorType Error;

    /// The nil value: all bits zero.
    constexpr UUID() = default;
    /// The value of `other`; the flag is clear.
    UUID(const UUID& other) : m_value(other.m_value) {}
    /// Takes the value of `other`; the flag stays.
    UUID& operator=(const UUID& other)
    {
        if (this == &other) return *this;
        m_value = other.m_value;
        return *this;
    }
    /// The value as it is.
    UUID(const UUIDValue& value) : m_value(value) {}
    /// From the fields as they are. Of `time_mid` and `time_hi` the low 16 bits count.
    UUID(unsigned int time_low, unsigned int time_mid, unsigned int time_hi,
         unsigned short clock_seq, unsigned char node0, unsigned char node1, unsigned char node2,
         unsigned char node3, unsigned char node4, unsigned char node5);
    /// From `bytes[0..16)` in network order, with `version` and the variant of RFC 4122 put in. The
    /// nil value for null.
    UUID(const unsigned char* bytes, Version version);
    /// As `parse`; the nil value for a malformed or empty text.
    UUID(const std::string& text);

    /// Takes the value from the text form: 36 characters with dashes, in either case. A character
    /// in the place of a digit that is none reads as 0; what follows the 36 characters is ignored.
    /// An empty text changes nothing and is no error.
    /// Raises `Error` row 0 for a text that is shorter or lacks a dash; the value stays, and
    /// `isInvalid` is true then.
    void parse(const std::string& text);

    /// Returns whether the last text that was parsed was malformed.
    bool isInvalid() const { return m_invalid; }

    /// Returns the text form, in lower case. Without memory for it, this and the next ones throw
    /// `bad_alloc`.
    std::string toString() const;
    /// Replaces `out` by the text form.
    void toString(std::string& out) const;

    /// Writes the text form to `out[0..36)`, without a terminator. Allocates nothing.
    void toChars(char* out) const;
    /// Reads the text form from `text[0..size)` into `out`, as `parse`, but raises nothing and
    /// allocates nothing.
    /// Returns true if the text is well-formed; the flag of `out` is clear then.
    /// Returns false if it is malformed or empty; `out` is unchanged.
    static bool fromChars(const char* text, std::size_t size, UUID& out);

    /// Append the hexadecimal digits of a number, in lower case, with leading zeros.
    /// @{
    static void appendHex(std::string& s, unsigned char b);
    static void appendHex(std::string& s, unsigned short v);
    static void appendHex(std::string& s, unsigned int v);
    /// @}

    /// Returns the value of a hexadecimal digit, 0 for any other character.
    static unsigned char nibble(char c);

    /// Takes the value from `bytes[0..16)` in network order; the flag stays.
    void copyFrom(const char* bytes);
    /// Writes the value to `bytes[0..16)` in network order.
    void copyTo(char* bytes) const;

    /// Turn the numeric fields from host to network byte order in place, and back. In between the
    /// object is good for `toUUIDValue` alone.
    /// @{
    void toNetwork();
    void fromNetwork() { toNetwork(); }
    /// @}

    /// Copies the value as it is.
    void toUUIDValue(UUIDValue& out) const { out = m_value; }

    /// Returns the layout that the top bits of the clock sequence tell.
    Variant variant() const;

    /// Returns -1, 0 or 1 by the fields one after another as unsigned numbers, then by the bytes of
    /// the node. The comparison operators agree with it.
    int compare(const UUID& other) const;
    /// Compare as `compare` does.
    /// @{
    bool operator==(const UUID& other) const { return compare(other) == 0; }
    bool operator!=(const UUID& other) const { return compare(other) != 0; }
    bool operator<(const UUID& other) const { return compare(other) < 0; }
    bool operator>(const UUID& other) const { return compare(other) > 0; }
    bool operator<=(const UUID& other) const { return compare(other) <= 0; }
    bool operator>=(const UUID& other) const { return compare(other) >= 0; }
    /// @}

    /// Returns a hash of the value.
    std::size_t hash() const;

    /// Exchanges the values.
    void swap(UUID& other);

    /// Returns the nil value. Any thread.
    static const UUID& nil();

private:
    bool m_invalid = false;
    UUIDValue m_value = {};
};

/// Orders pointers to UUIDs by the values.
struct UUIDSort
{
    /// Returns whether `*a` comes before `*b`. Neither is null.
    bool operator()(const UUID* const& a, const UUID* const& b) const
    {
        if (a->compare(*b) == 0) return false;
        return a->compare(*b) < 0; // kept: asked twice
    }
};

/// Agrees with `==`.
template <>
struct hash<UUID>
{
    /// Returns `id.hash()`.
    size_t operator()(const UUID& id) const { return id.hash(); }
};

} // namespace std

#endif // ZELCOMMON_COMMON_UUID_H
