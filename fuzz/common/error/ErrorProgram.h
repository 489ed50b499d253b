// SPDX-License-Identifier: Apache-2.0
//
// A program over the error storages of a thread, as an input tells, for whatever can run it.

#ifndef ZELCOMMON_FUZZ_ERRORPROGRAM_H
#define ZELCOMMON_FUZZ_ERRORPROGRAM_H

#include <string>

#include <Input.h>
#include <support/SlowErrors.h>

namespace fuzz {

using support::slow::StorageKind;

constexpr unsigned int MOST_STEPS = 32;
constexpr int MOST_NESTED = 3; // of those who are told
constexpr unsigned int MOST_STORAGES = 6;

/// Names that reports shorten, or do not.
const char* const FILES[] = {
    "/build/src/a.c", "src/b.c",  "x\\include\\c.h", "/a/b/c/d/e/f", "a/b/c", "/",      "",
    "//src/",         "/include", "/src_root/d.c",   "b//c///d",     nullptr, "x/a.c/", "y\\src/z"};
constexpr unsigned int FILE_COUNT = sizeof FILES / sizeof FILES[0];

/// An error to raise.
struct Raise
{
    bool isNew;
    unsigned int form;
    const char* file;
    int number;
    std::string text;
};

/// What the library and its model do alike.
class World
{
public:
    virtual ~World() = default;
    virtual void push(StorageKind kind) = 0;
    virtual void pop() = 0;
    virtual std::size_t depth() const = 0;
    virtual void raise(const Raise& error) = 0;
    virtual void add(const Raise& error) = 0;
    /// Of the error `steps` causes behind the newest, or of the one that was saved.
    virtual void copy(bool isNew, unsigned int steps) = 0;
    virtual void save() = 0;
    virtual void ack() = 0;
    virtual void clear() = 0;
    virtual void appendState(std::string& log) = 0;
    virtual std::string takePrinted() = 0;
};

/// The program, which ends with the input or after `MOST_STEPS`.
class Program
{
public:
    /// `log` is where all that is found is written; it outlives this object.
    Program(Input input, std::string& log) : m_input(input), m_log(log) { m_log.clear(); }

    void run(World& world)
    {
        m_world = &world;
        world.push(StorageKind::TELLING);
        while (m_steps < MOST_STEPS && !m_input.isEmpty()) {
            step(1);
            world.appendState(m_log);
            m_log += world.takePrinted();
        }
        while (world.depth() > 0)
            world.pop();
    }

    /// Those who are told go on with the program, in storages of their own or in the same one.
    void told(const std::string& what)
    {
        m_log += what;
        if (m_nested == MOST_NESTED) return;
        ++m_nested;
        const std::size_t least = m_world->depth();
        for (unsigned int i = m_input.below(12); i > 0 && m_steps < MOST_STEPS; --i)
            step(least);
        m_world->appendState(m_log);
        while (m_world->depth() > least)
            m_world->pop();
        --m_nested;
    }

private:
    void step(std::size_t leastStorages)
    {
        ++m_steps;
        const unsigned int operation = m_input.byte();
        switch (operation % 16) {
        case 0: m_world->ack(); break;
        case 1: m_world->clear(); break;
        case 2: push(operation / 16 % 5); break;
        case 3:
            if (m_world->depth() > leastStorages) m_world->pop();
            break;
        case 4: m_world->save(); break;
        case 5:
        case 6: m_world->copy(operation % 2 == 0, operation / 16); break;
        case 7:
        case 8: m_world->add(raiseFrom(operation / 16)); break;
        default: m_world->raise(raiseFrom(operation / 16)); break;
        }
    }

    void push(unsigned int kind)
    {
        if (m_world->depth() < MOST_STORAGES) m_world->push(static_cast<StorageKind>(kind));
    }

    Raise raiseFrom(unsigned int form)
    {
        const unsigned int place = m_input.byte();
        Raise error{
            place >= 0xC0, form, FILES[place % FILE_COUNT], static_cast<int>(place) - 8, {}};
        const unsigned int length = m_input.byte();
        const std::string piece = m_input.text(length % 8).c_str();
        // Around the limits of a reason.
        while (!piece.empty() && error.text.size() < (length >= 0x80 ? length + 100 : length / 8))
            error.text += piece;
        return error;
    }

    Input m_input;
    World* m_world = nullptr;
    unsigned int m_steps = 0;
    int m_nested = 0;
    std::string& m_log;
};

} // namespace fuzz

#endif // ZELCOMMON_FUZZ_ERRORPROGRAM_H
