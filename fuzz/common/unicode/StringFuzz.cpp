// SPDX-License-Identifier: Apache-2.0
//
// A small machine over four texts: the input is its program. After every step the texts are held
// against their slow models.

#include <string>
#include <utility>
#include <vector>

#include <Input.h>
#include <support/TextPair.h>

namespace {

using fuzz::Input;
using fuzz::require;
using std::unicode::String;
using support::PlacePair;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

/// Keeps the work of the slow side small.
constexpr unsigned int LONGEST = 40;
constexpr unsigned int MOST_STEPS = 32;

void requireSame(const slow::Text& expected, const String& text)
{
    require(shown(expected) == shown(text));
}

void requireSame(const slow::Position& expected, const String::Iterator& found)
{
    require(expected.place.chars == found.position.chars &&
            expected.place.bytes == found.position.bytes);
}

class Machine
{
public:
    explicit Machine(Input& input) : m_input(input), m_texts(4, TextPair(slow::UTF8, {})) {}

    void run()
    {
        using Step = void (Machine::*)();
        static constexpr Step STEPS[] = {
            &Machine::make,        &Machine::add,     &Machine::repeat, &Machine::cut,
            &Machine::cutAt,       &Machine::convert, &Machine::assign, &Machine::compare,
            &Machine::search,      &Machine::findFar, &Machine::walk,   &Machine::split,
            &Machine::join,        &Machine::replace, &Machine::halve,  &Machine::searchAll,
            &Machine::compareParts};
        for (unsigned int i = 0; i < MOST_STEPS && !m_input.isEmpty(); ++i)
            (this->*STEPS[m_input.below(sizeof STEPS / sizeof STEPS[0])])();
    }

private:
    TextPair& any() { return m_texts[m_input.below(4)]; }
    int smallNumber() { return static_cast<int>(m_input.below(32)) - 16; }
    PlacePair placeIn(const TextPair& text) { return PlacePair(text, m_input.below(8)); }

    void store(TextPair result)
    {
        requireSame(result.model, result.text);
        if (result.model.length() > LONGEST) return;
        any() = std::move(result);
        for (const TextPair& text : m_texts)
            requireSame(text.model, text.text);
    }

    void make()
    {
        const auto encoding = static_cast<slow::Encoding>(m_input.below(4));
        const unsigned int length = m_input.below(17);
        store(TextPair(encoding, m_input.bytes(length)));
    }

    void add()
    {
        const TextPair& left = any();
        store(left + any());
    }

    void repeat()
    {
        const TextPair& text = any();
        store(text * m_input.below(5));
    }

    void cut()
    {
        const TextPair& text = any();
        const int from = smallNumber();
        store(part(text, from, smallNumber()));
    }

    void cutAt()
    {
        const TextPair& text = any();
        const PlacePair from = placeIn(text);
        const PlacePair to = placeIn(text);
        // Positions of a text serve for its beginning, too, which has the same bytes.
        const TextPair start = part(text, 0, smallNumber());
        requireSame(substr(start.model, from.model, to.model),
                    start.text.substr(from.place, to.place));
        store({substr(text.model, from.model, to.model), text.text.substr(from.place, to.place)});
    }

    void convert()
    {
        const TextPair& text = any();
        store(converted(text, static_cast<slow::Encoding>(m_input.below(4))));
    }

    void assign()
    {
        TextPair& target = any();
        const TextPair& source = any();
        target.model = source.model;
        target.text = source.text;
        requireSame(target.model, target.text);
    }

    void compare()
    {
        const TextPair& a = any();
        const TextPair& b = any();
        require(isEqual(a.model, b.model) == (a.text == b.text));
        require(isLess(a.model, b.model) == (a.text < b.text));
        require(isGreater(a.model, b.model) == (a.text > b.text));
        require(a.text != b.text || a.text.hash() == b.text.hash());
    }

    void search()
    {
        const TextPair& text = any();
        const TextPair& other = any();
        const PlacePair at = placeIn(text);
        const slow::Text& t = text.model;
        const slow::Text& o = other.model;
        requireSame(find(t, o, at.model), text.text.find(other.text, at.place));
        requireSame(rfind(t, o, at.model), text.text.rfind(other.text, at.place));
        requireSame(findFirstOf(t, o, at.model), text.text.find_first_of(other.text, at.place));
        requireSame(findFirstNotOf(t, o, at.model),
                    text.text.find_first_not_of(other.text, at.place));
        requireSame(findLastOf(t, o, at.model), text.text.find_last_of(other.text, at.place));
        requireSame(findLastNotOf(t, o, at.model),
                    text.text.find_last_not_of(other.text, at.place));
    }

    /// From a position in another text.
    void findFar()
    {
        const TextPair& text = any();
        const TextPair& needle = any();
        const PlacePair at = placeIn(any());
        requireSame(find(text.model, needle.model, at.model),
                    text.text.find(needle.text, at.place));
    }

    void walk()
    {
        const TextPair& text = any();
        require(count(text.model.encoding, text.model.bytes()) == text.text.count());
        PlacePair at(text);
        for (unsigned int i = 0; i < text.model.count; ++i, at.advance()) {
            requireSame(at.model, at.place);
            require(valueAt(at.model) == *at.place);
            require(slow::at(text.model, i) == text.text.at(i));
        }
    }

    void split()
    {
        const TextPair& text = any();
        const TextPair& separator = any();
        const std::vector<slow::Text> expected = slow::split(text.model, separator.model);
        std::size_t number = 0;
        for (const String& piece : text.text.split(separator.text)) {
            require(number < expected.size());
            requireSame(expected[number], piece);
            ++number;
        }
        require(number == expected.size());
    }

    void join()
    {
        const TextPair& glue = any();
        std::vector<slow::Text> models;
        std::vector<String> texts;
        for (unsigned int i = m_input.below(4); i > 0; --i) {
            const TextPair& piece = any();
            models.push_back(piece.model);
            texts.push_back(piece.text);
        }
        store({slow::join(glue.model, models), glue.text.join(texts.begin(), texts.end())});
    }

    void replace()
    {
        const TextPair& text = any();
        const TextPair& what = any();
        const TextPair& with = any();
        store({slow::replace(text.model, what.model, with.model),
               text.text.replace(what.text, with.text)});
    }

    /// The halves are views of the same bytes; joined they are the text again.
    void halve()
    {
        const TextPair& text = any();
        const int middle = smallNumber();
        const TextPair left = part(text, 0, middle);
        const TextPair right = part(text, middle, static_cast<int>(text.text.size()));
        const TextPair whole = left + right;
        requireSame(whole.model, whole.text);
        require(slow::isEqual(whole.model, text.model) == (whole.text == text.text));
        const String halves[] = {left.text, right.text};
        store({slow::join(slow::Text(), {left.model, right.model}),
               String().join(halves, halves + 2)});
    }

    /// Without positions, and of a view in a view.
    void searchAll()
    {
        const TextPair text = part(any(), smallNumber(), smallNumber());
        const TextPair& other = any();
        const slow::Text& t = text.model;
        const slow::Text& o = other.model;
        const slow::Position first = slow::first(t);
        const slow::Position end = slow::end(t);
        requireSame(find(t, o, first), text.text.find(other.text));
        requireSame(rfind(t, o, end), text.text.rfind(other.text));
        requireSame(findFirstOf(t, o, first), text.text.find_first_of(other.text));
        requireSame(findFirstNotOf(t, o, first), text.text.find_first_not_of(other.text));
        requireSame(findLastOf(t, o, end), text.text.find_last_of(other.text));
        requireSame(findLastNotOf(t, o, end), text.text.find_last_not_of(other.text));
    }

    /// Views against a text in another encoding.
    void compareParts()
    {
        const TextPair& text = any();
        const int from = smallNumber();
        const TextPair a = part(text, from, smallNumber());
        const TextPair b = converted(a, static_cast<slow::Encoding>(m_input.below(4)));
        require(isEqual(a.model, b.model) == (a.text == b.text));
        require(isLess(a.model, text.model) == (a.text < text.text));
        require(isGreater(b.model, text.model) == (b.text > text.text));
        require((b.text <= text.text) == !isGreater(b.model, text.model));
        require((b.text >= text.text) == !isLess(b.model, text.model));
        require(a.text != b.text || a.text.hash() == b.text.hash());
    }

    Input& m_input;
    std::vector<TextPair> m_texts;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    Machine(input).run();
    return 0;
}
