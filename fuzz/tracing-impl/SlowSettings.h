// SPDX-License-Identifier: Apache-2.0
//
// What the environment and the requests of a control socket mean, once more, piece by piece. Calls
// nothing of the library.

#ifndef ZELCOMMON_FUZZ_TRACINGIMPL_SLOWSETTINGS_H
#define ZELCOMMON_FUZZ_TRACINGIMPL_SLOWSETTINGS_H

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz::slow {

using Texts = std::vector<std::string>;

/// The pieces between separators, also the empty ones.
inline Texts piecesOf(const std::string& text, char separator)
{
    Texts pieces(1);
    for (const char c : text) {
        if (c == separator)
            pieces.emplace_back();
        else
            pieces.back() += c;
    }
    return pieces;
}

/// The bytes that no terminal is to see, written out.
inline std::string escaped(const std::string& text)
{
    static const char* const s_digits = "0123456789abcdef";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += std::string("\\x") + s_digits[byte / 16] + s_digits[byte % 16];
    }
    return out;
}

/// The bytes from `at` on that belong to one character; 1 for a byte that begins none.
inline std::size_t sizeAt(const std::string& text, std::size_t at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t size = 1;
    for (const unsigned int least : {0xC0U, 0xE0U, 0xF0U, 0xF8U, 0xFCU})
        size += lead >= least && lead < 0xFE ? 1 : 0;
    if (at + size > text.size()) return 1;
    for (std::size_t i = at + 1; i < at + size; ++i)
        if (static_cast<unsigned char>(text[i]) / 64 != 2) return 1;
    return size;
}

inline std::string printed(const std::string& text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::string character = text.substr(at, sizeAt(text, at));
        at += character.size();
        const auto first = static_cast<unsigned char>(character[0]);
        const bool isAscii = first < 0x20 ? first != '\t' : first == 0x7F;
        const bool isByte = character.size() == 1 && first >= 0x80 && first <= 0x9F;
        const bool isLatin = character.size() == 2 && first == 0xC2 &&
                             static_cast<unsigned char>(character[1]) <= 0x9F;
        out += isAscii || isByte || isLatin ? escaped(character) : character;
    }
    return out;
}

/// -1 for a name of none.
inline int levelOf(const std::string& name)
{
    const Texts names = {"trace", "debug", "info", "warning",  "error",
                         "fatal", "off",   "none", "disabled", "default"};
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name) return static_cast<int>(i);
    return -1;
}

inline bool isDigits(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

/// -1 for what is no number up to `most`.
inline long long numberOf(const std::string& text, long long most)
{
    if (!isDigits(text)) return -1;
    long long number = 0;
    for (const char c : text) {
        number = number * 10 + (c - '0');
        if (number > most) return -1;
    }
    return number;
}

/// Of what an environment variable is told that it has, and what was ignored.
class SlowSettings
{
public:
    void readLevels(const std::string& text)
    {
        for (const std::string& piece : piecesOf(text, ',')) {
            if (piece.empty()) continue;
            const std::size_t equals = piece.find('=');
            const std::string name = equals == piece.npos ? piece : piece.substr(equals + 1);
            if (levelOf(name) < 0)
                ignore("ZEL_TRACE", piece, "no such level");
            else if (equals == 0)
                ignore("ZEL_TRACE", piece, "no channel");
            else
                take(equals == piece.npos ? "" : piece.substr(0, equals), levelOf(name));
        }
    }

    void readSinks(const std::string& text)
    {
        for (const std::string& piece : piecesOf(text, ',')) {
            if (piece.empty()) continue;
            const std::string sink = sinkOf(piece);
            if (sink.empty())
                ignore("ZEL_TRACE_SINKS", piece, "no such sink");
            else
                taken.push_back(piece + " " + sink);
        }
    }

    void readQueue(const std::string& text)
    {
        const long long length = numberOf(text, 1048576);
        if (length >= 0)
            taken.push_back(std::to_string(length));
        else if (!text.empty())
            ignore("ZEL_TRACE_QUEUE", text, "no number of messages from 0 to 1048576");
    }

    /// Levels as "PATH=LEVEL", the last one of a path alone; sinks as "TEXT KIND NAME SIZE COUNT".
    Texts taken;
    Texts ignored;

private:
    void ignore(const std::string& variable, const std::string& piece, const std::string& why)
    {
        ignored.push_back(variable + ": '" + printed(piece) + "' is ignored: " + why);
    }

    void take(const std::string& path, int level)
    {
        const std::string begin = path + "=";
        for (std::size_t i = 0; i < taken.size(); ++i)
            if (taken[i].rfind('=') == path.size() && taken[i].compare(0, begin.size(), begin) == 0)
                taken.erase(taken.begin() + static_cast<std::ptrdiff_t>(i--));
        taken.push_back(begin + std::to_string(level));
    }

    static std::string sinkOf(const std::string& piece)
    {
        const Texts plain = {"stderr", "", "syslog", "dlt"};
        for (std::size_t kind = 0; kind < plain.size(); ++kind)
            if (piece == plain[kind]) return std::to_string(kind) + "  0 0";
        return piece.compare(0, 5, "file:") == 0 ? fileOf(piece.substr(5)) : "";
    }

    static bool isNumber(std::string text)
    {
        const bool hasUnit = !text.empty() && std::string("KMG").find(text.back()) != text.npos;
        if (hasUnit) text.pop_back();
        return isDigits(text);
    }
    static long long sizeOf(std::string text)
    {
        constexpr long long MOST = 1LL << 30;
        const std::size_t unit = std::string("KMG").find(text.back());
        if (unit == text.npos) return numberOf(text, MOST);
        text.pop_back();
        const long long size = numberOf(text, MOST) * (1LL << (10 * (unit + 1)));
        return size <= MOST ? size : -1;
    }

    /// At most the last two fields are numbers; all before is the name.
    static std::string fileOf(const std::string& text)
    {
        Texts fields = piecesOf(text, ':');
        Texts numbers;
        while (fields.size() > 1 && numbers.size() < 2 && isNumber(fields.back())) {
            numbers.insert(numbers.begin(), fields.back());
            fields.pop_back();
        }
        std::string name = fields[0];
        for (std::size_t i = 1; i < fields.size(); ++i)
            name += ":" + fields[i];
        const long long size = numbers.empty() ? 1048576 : sizeOf(numbers[0]);
        const long long count = numbers.size() < 2 ? 3 : numberOf(numbers[1], 100);
        if (name.empty() || size < 1024 || count < 1) return "";
        return "1 " + name + " " + std::to_string(size) + " " + std::to_string(count);
    }
};

} // namespace fuzz::slow

#endif // ZELCOMMON_FUZZ_TRACINGIMPL_SLOWSETTINGS_H
