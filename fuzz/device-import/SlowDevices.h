// SPDX-License-Identifier: Apache-2.0
//
// What makes a field of a device sound, once more, over plain code points and with the words that
// the program complains in. Calls nothing of the program or the library.

#ifndef ZELCOMMON_FUZZ_DEVICEIMPORT_SLOWDEVICES_H
#define ZELCOMMON_FUZZ_DEVICEIMPORT_SLOWDEVICES_H

#include <string>

#include <support/SlowCodec.h>

namespace fuzz::slow {

using namespace support::slow;
using Characters = std::u32string;

struct SlowDevice
{
    std::string uuid;
    Characters name;
    Characters location;
    int level = 0;
};

/// At least as many digits as `width`.
inline std::string hexOf(unsigned int value, std::size_t width, const char* digits)
{
    std::string text;
    for (; value > 0 || text.size() < width; value /= 16)
        text.insert(text.begin(), digits[value % 16]);
    return text;
}

constexpr const char* SMALL_DIGITS = "0123456789abcdef";
constexpr const char* CAPITAL_DIGITS = "0123456789ABCDEF";

/// The bytes from `begin` to `end`.
inline Bytes partOf(const Bytes& data, std::size_t begin, std::size_t end)
{
    return Bytes(data.data() + begin, data.data() + end);
}

/// Returns the characters. A fault, which is none else, tells the first bytes that are no
/// character as they are always written.
inline Characters decoded(Encoding encoding, const Bytes& data, std::string& fault)
{
    static const char* const s_names[] = {"UTF-8", "UTF-16LE", "UTF-16BE", "UCS-4"};
    Characters text;
    for (Place place; place.bytes < data.size();) {
        const Place begin = place;
        unsigned int c = 0;
        const bool isOne = readForward(encoding, data, place, 1, c) == 1;
        const Bytes part = partOf(data, begin.bytes, isOne ? place.bytes : data.size());
        Bytes again(6);
        Place end;
        writeForward(encoding, again, end, c);
        again.resize(end.bytes);
        if (isOne && c <= 0x10FFFF && again == part) {
            text += static_cast<char32_t>(c);
            continue;
        }
        std::string bytes;
        for (const unsigned char byte : part)
            bytes += (bytes.empty() ? "" : " ") + hexOf(byte, 2, CAPITAL_DIGITS);
        fault = "column " + std::to_string(text.size() + 1) + " is undecodable: " + bytes + " in " +
                s_names[encoding];
        return text;
    }
    return text;
}

inline std::string utf8Of(const Characters& text)
{
    std::string bytes;
    for (const char32_t c : text) {
        Bytes one(6);
        Place end;
        writeForward(UTF8, one, end, c);
        one.resize(end.bytes);
        bytes.append(one.begin(), one.end());
    }
    return bytes;
}

inline bool isControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

inline std::string quoted(const Characters& text)
{
    Characters shown;
    for (const char32_t c : text.substr(0, 40))
        shown += isControl(c) ? U'?' : c;
    return utf8Of(shown) + (text.size() > 40 ? "..." : "");
}

inline bool isBlank(char32_t c)
{
    return c == ' ' || c == '\t';
}

inline bool hasOuterBlanks(const Characters& text)
{
    return !text.empty() && (isBlank(text.front()) || isBlank(text.back()));
}

/// Each fault is empty if there is none.
inline std::string textFault(const std::string& field, const Characters& text, std::size_t most)
{
    if (text.empty()) return field + " is empty";
    const std::size_t size = utf8Of(text).size();
    if (size > most)
        return field + " has " + std::to_string(size) + " bytes, at most " + std::to_string(most) +
               " are allowed";
    for (const char32_t c : text)
        if (isControl(c))
            return field + " holds the control character 0x" + hexOf(c, 2, CAPITAL_DIGITS);
    return "";
}

inline std::string nameFault(const Characters& text)
{
    return textFault("name", text, 40);
}

inline std::string locationFault(const Characters& text)
{
    std::string fault = textFault("location", text, 32);
    if (!fault.empty()) return fault;
    const std::size_t slash = text.find(U'/');
    const bool isOne = slash != text.npos && text.find(U'/', slash + 1) == text.npos;
    if (!isOne || slash == text.size() - 1)
        return "location '" + quoted(text) + "' is not of the form FLOOR/ROOM";
    bool isFloor = slash >= 1 && slash <= 3;
    for (const char32_t c : text.substr(0, slash))
        isFloor = isFloor && ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z'));
    return isFloor ? ""
                   : "floor '" + quoted(text.substr(0, slash)) +
                         "' is not made of one to three capital letters and digits";
}

/// Of a number that is read as `text`.
inline std::string levelFault(int level, const Characters& text)
{
    if (level >= 0 && level <= 100) return "";
    return "level '" + quoted(text) +
           "' is not allowed <- Integer parameter out of range. Min = 0, Max = 100, Found = " +
           std::to_string(level);
}

} // namespace fuzz::slow

#endif // ZELCOMMON_FUZZ_DEVICEIMPORT_SLOWDEVICES_H
