// SPDX-License-Identifier: Apache-2.0
//
// Writes the cases of golden.txt with the answers of the slow model, which calls nothing of the
// library. To write them anew, from the root of the checkout:
//
//     g++ -std=c++17 -Itests tests/{common/unicode/golden-writer,support/Slow*}.cpp -o build/writer
//     build/writer > tests/common/unicode/golden.txt

#include <functional>
#include <iostream>
#include <set>
#include <string>

#include <support/RandomText.h>
#include <support/SlowText.h>
#include <support/TextNotation.h>

namespace {

using support::encodingNamed;
using support::hexText;
using support::hexValue;
using support::placeText;
using support::RandomText;
namespace slow = support::slow;
using slow::Text;
using Words = std::vector<std::string>;

unsigned int number(const std::string& word)
{
    return static_cast<unsigned int>(std::stoul(word));
}

Text textNamed(const std::string& word)
{
    Text text;
    bool isFirst = true;
    for (const std::string& part : support::parts(word, '+')) {
        const support::NotedPart noted(part);
        const Text next = textOf(noted.encoding, noted.data);
        text = isFirst ? next : plus(text, next);
        isFirst = false;
    }
    return text;
}

std::string shown(const Text& text)
{
    return support::textText(text.encoding, text.bytes(), text.count);
}

std::string shown(slow::Place place)
{
    return placeText(place.chars, place.bytes);
}

std::string forwardAnswer(const Words& w)
{
    const Text text = textNamed(w[1]);
    slow::Place at = {0, number(w[2])};
    unsigned int last = 0xEEEEEEEE;
    const unsigned int result =
        slow::readForward(text.encoding, text.bytes(), at, number(w[3]), last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

std::string writeAnswer(const Words& w)
{
    slow::Bytes room(number(w[2]), 0xEE);
    slow::Place at = {0, number(w[3])};
    const unsigned int result = slow::writeForward(encodingNamed(w[1]), room, at, hexValue(w[4]));
    return std::to_string(result) + " " + shown(at) + " " + support::bytesText(room);
}

std::string compareAnswer(const Words& w)
{
    const Text a = textNamed(w[1]);
    const Text b = textNamed(w[2]);
    return std::string(isEqual(a, b) ? "=" : "") + (isLess(a, b) ? "<" : "") +
           (isGreater(a, b) ? ">" : "");
}

template <slow::Position (*Search)(const Text&, const Text&, slow::Position)>
std::string searchAnswer(const Words& w)
{
    const Text text = textNamed(w[1]);
    slow::Position from = first(text);
    for (unsigned int i = number(w[3]); i > 0; --i)
        advance(from);
    return shown(Search(text, textNamed(w[2]), from).place);
}

std::string splitAnswer(const Words& w)
{
    std::string pieces;
    for (const Text& piece : split(textNamed(w[1]), textNamed(w[2])))
        pieces += (pieces.empty() ? "" : " ") + shown(piece);
    return pieces.empty() ? "none" : pieces;
}

std::string joinAnswer(const Words& w)
{
    std::vector<Text> pieces;
    for (std::size_t i = 2; i < w.size(); ++i)
        pieces.push_back(textNamed(w[i]));
    return shown(join(textNamed(w[1]), pieces));
}

/// Draws the arguments of cases.
class Drawer
{
public:
    std::string encoding() { return support::ENCODING_NAMES[m_random.encoding()]; }
    std::string value() { return hexText(m_random.value()); }
    std::string below(unsigned int limit) { return std::to_string(m_random.below(limit)); }
    std::string bytes(unsigned int pieces)
    {
        const slow::Encoding encoding = m_random.encoding();
        return plain(encoding, pieces);
    }
    std::string text(unsigned int pieces)
    {
        const slow::Encoding encoding = m_random.encoding();
        const std::string one = plain(encoding, pieces);
        return m_random.below(4) == 0 ? one + "+" + plain(encoding, pieces) : one;
    }

    /// Up to `most` characters of the few that `searched` texts are full of.
    std::string needle(unsigned int most)
    {
        const slow::Encoding encoding = m_random.encoding();
        return std::string(support::ENCODING_NAMES[encoding]) + ":" + frequent(encoding, most);
    }
    std::string searched()
    {
        const slow::Encoding encoding = m_random.encoding();
        std::string text = std::string(support::ENCODING_NAMES[encoding]) + ":";
        text += frequent(encoding, 6);
        text += support::bytesText(m_random.bytes(encoding, 2));
        return text += frequent(encoding, 3);
    }

private:
    std::string frequent(slow::Encoding encoding, unsigned int most)
    {
        const unsigned int values[] = {'a', 'a', 'a', 'b', ';', 0x20AC, slow::REPLACEMENT};
        slow::Bytes data;
        for (unsigned int i = m_random.below(most + 1); i > 0; --i) {
            const slow::Bytes next = slow::textOf(values[m_random.below(7)]).bytes();
            data.insert(data.end(), next.begin(), next.end());
        }
        return support::bytesText(convert(slow::UCS4, encoding, data));
    }

    std::string plain(slow::Encoding encoding, unsigned int pieces)
    {
        return std::string(support::ENCODING_NAMES[encoding]) + ":" +
               support::bytesText(m_random.bytes(encoding, pieces));
    }

    RandomText m_random{20};
};

using Draw = std::function<Words(Drawer&)>;
using Answer = std::string (*)(const Words&);

void write(const std::string& operation, unsigned int cases, const Draw& draw, Answer answer)
{
    static Drawer drawer;
    std::set<std::string> lines;
    for (unsigned int i = 0; i < cases; ++i) {
        std::string line = operation;
        for (const std::string& word : draw(drawer))
            line += " " + word;
        lines.insert(line + " = " + answer(support::parts(line, ' ')));
    }
    for (const std::string& line : lines)
        std::cout << line << "\n";
}

void writeCodecCases()
{
    write(
        "type", 600, [](Drawer& d) { return Words{hexText(number(d.below(256)))}; },
        [](const Words& w) {
            return std::to_string(slow::type(static_cast<unsigned char>(hexValue(w[1]))));
        });
    write(
        "read", 200,
        [](Drawer& d) {
            return Words{d.bytes(4), d.below(8)};
        },
        [](const Words& w) {
            const Text text = textNamed(w[1]);
            return hexText(read(text.encoding, text.bytes(), {0, number(w[2])}));
        });
    write(
        "forward", 250,
        [](Drawer& d) {
            return Words{d.bytes(4), d.below(5), d.below(5)};
        },
        forwardAnswer);
    write(
        "write", 250,
        [](Drawer& d) {
            return Words{d.encoding(), d.below(10), d.below(4), d.value()};
        },
        writeAnswer);
    write(
        "bytes", 200,
        [](Drawer& d) {
            return Words{d.encoding(), d.value()};
        },
        [](const Words& w) {
            return std::to_string(slow::encodedBytes(encodingNamed(w[1]), hexValue(w[2])));
        });
    write(
        "place", 150,
        [](Drawer& d) {
            return Words{d.bytes(5), d.below(8)};
        },
        [](const Words& w) {
            const Text text = textNamed(w[1]);
            return shown(placeOf(text.encoding, text.bytes(), number(w[2])));
        });
    write(
        "convert", 300,
        [](Drawer& d) {
            return Words{d.bytes(5), d.encoding(),
                         (d.below(3) == "0" ? d.below(12) : "4294967295")};
        },
        [](const Words& w) {
            const Text text = textNamed(w[1]);
            return support::bytesText(
                convert(text.encoding, encodingNamed(w[2]), text.bytes(), number(w[3])));
        });
}

void writeStringCases()
{
    write(
        "value", 120, [](Drawer& d) { return Words{d.value()}; },
        [](const Words& w) { return shown(slow::textOf(hexValue(w[1]))); });
    write(
        "char", 150,
        [](Drawer& d) {
            return Words{d.encoding(), d.value()};
        },
        [](const Words& w) { return shown(textOf(encodingNamed(w[1]), hexValue(w[2]))); });
    write(
        "text", 150,
        [](Drawer& d) {
            return Words{d.encoding(), d.text(4)};
        },
        [](const Words& w) { return shown(textOf(encodingNamed(w[1]), textNamed(w[2]))); });
    write(
        "count", 150, [](Drawer& d) { return Words{d.text(5)}; },
        [](const Words& w) {
            const Text text = textNamed(w[1]);
            return std::to_string(count(text.encoding, text.bytes())) + " of " +
                   std::to_string(text.count);
        });
    // Texts of two characters at least.
    write(
        "at", 150,
        [](Drawer& d) {
            return Words{"UTF8:61+" + d.text(4) + "+UTF8:62", d.below(2)};
        },
        [](const Words& w) { return hexText(at(textNamed(w[1]), number(w[2]))); });
    write(
        "compare", 250,
        [](Drawer& d) {
            const std::string one = d.text(2);
            if (d.below(3) == "0") return Words{one, d.text(2)};
            return Words{one, one + "+" + d.bytes(1)};
        },
        compareAnswer);
}

void writeSearchCases()
{
    const Draw draw = [](Drawer& d) { return Words{d.searched(), d.needle(2), d.below(9)}; };
    write("find", 150, draw, searchAnswer<slow::find>);
    write("rfind", 150, draw, searchAnswer<slow::rfind>);
    write("find_first_of", 100, draw, searchAnswer<slow::findFirstOf>);
    write("find_first_not_of", 100, draw, searchAnswer<slow::findFirstNotOf>);
    write("find_last_of", 100, draw, searchAnswer<slow::findLastOf>);
    write("find_last_not_of", 100, draw, searchAnswer<slow::findLastNotOf>);
}

void writeCompositionCases()
{
    write(
        "substr", 200,
        [](Drawer& d) {
            const std::string from = std::to_string(static_cast<int>(number(d.below(10))) - 4);
            const std::string sign = d.below(3) == "0" ? "-" : "";
            return Words{d.text(6), from, sign + d.below(8)};
        },
        [](const Words& w) {
            return shown(substr(textNamed(w[1]), std::stoi(w[2]), std::stoi(w[3])));
        });
    write(
        "plus", 150,
        [](Drawer& d) {
            return Words{d.text(3), d.text(3)};
        },
        [](const Words& w) { return shown(plus(textNamed(w[1]), textNamed(w[2]))); });
    write(
        "times", 100,
        [](Drawer& d) {
            return Words{d.text(2), d.below(5)};
        },
        [](const Words& w) { return shown(times(textNamed(w[1]), number(w[2]))); });
    write(
        "split", 200,
        [](Drawer& d) {
            return Words{d.searched(), d.needle(2)};
        },
        splitAnswer);
    write(
        "join", 100,
        [](Drawer& d) {
            return Words{d.text(1), d.text(2), d.text(2), d.text(2)};
        },
        joinAnswer);
    write(
        "replace", 150,
        [](Drawer& d) {
            return Words{d.searched(), d.needle(2), d.text(2)};
        },
        [](const Words& w) {
            return shown(replace(textNamed(w[1]), textNamed(w[2]), textNamed(w[3])));
        });
}

} // namespace

int main()
{
    writeCodecCases();
    writeStringCases();
    writeSearchCases();
    writeCompositionCases();
}
