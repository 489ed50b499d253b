// SPDX-License-Identifier: Apache-2.0
//
// How texts are written in lists of cases and in messages: "UTF8:c341" is a text by its bytes,
// "UTF8:c3+UTF8:41" a concatenation, "UTF8:c341#1" a result with its number of characters, and
// "1/2" a position behind one character and two bytes.

#ifndef ZELCOMMON_TESTS_SUPPORT_TEXTNOTATION_H
#define ZELCOMMON_TESTS_SUPPORT_TEXTNOTATION_H

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <support/SlowText.h>

namespace support {

inline constexpr const char* ENCODING_NAMES[] = {"UTF8", "UTF16LE", "UTF16BE", "UCS4"};

inline slow::Encoding encodingNamed(const std::string& name)
{
    int number = 0;
    while (number < slow::UCS4 && name != ENCODING_NAMES[number])
        ++number;
    return static_cast<slow::Encoding>(number);
}

inline std::string hexText(unsigned int value)
{
    std::ostringstream text;
    text << std::hex << value;
    return text.str();
}

inline unsigned int hexValue(const std::string& text)
{
    return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, 16));
}

inline std::string bytesText(const slow::Bytes& data)
{
    const char* digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : data) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

inline slow::Bytes bytesNamed(const std::string& text)
{
    slow::Bytes data;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        data.push_back(static_cast<unsigned char>(hexValue(text.substr(i, 2))));
    return data;
}

inline std::string placeText(unsigned int chars, unsigned int bytes)
{
    return std::to_string(chars) + "/" + std::to_string(bytes);
}

inline slow::Place placeNamed(const std::string& text)
{
    slow::Place place;
    char slash = 0;
    std::istringstream(text) >> place.chars >> slash >> place.bytes;
    return place;
}

inline std::string textText(slow::Encoding encoding, const slow::Bytes& data, unsigned int count)
{
    return std::string(ENCODING_NAMES[encoding]) + ":" + bytesText(data) + "#" +
           std::to_string(count);
}

inline std::vector<std::string> parts(const std::string& text, char separator)
{
    std::vector<std::string> result;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, separator);)
        result.push_back(part);
    return result;
}

/// One "UTF8:c341".
struct NotedPart
{
    explicit NotedPart(const std::string& text)
        : encoding(encodingNamed(text.substr(0, text.find(':')))),
          data(bytesNamed(text.substr(text.find(':') + 1)))
    {}

    slow::Encoding encoding;
    slow::Bytes data;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TEXTNOTATION_H
