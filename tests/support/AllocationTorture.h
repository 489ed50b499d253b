// SPDX-License-Identifier: Apache-2.0
//
// Runs a scenario once for each of its allocations, which fails, alone and with all that follow.
// What a scenario needs lies outside; what it takes, it gives back before it returns.
//
//     EXPECT_EQ("3 points", support::torture([] {
//                   const std::string list = zel_error.getReasonList();
//                   return list == FULL ? support::RIGHT : refusedIf(list.empty());
//               }));

#ifndef ZELCOMMON_TESTS_SUPPORT_ALLOCATIONTORTURE_H
#define ZELCOMMON_TESTS_SUPPORT_ALLOCATIONTORTURE_H

#include <csignal>
#include <cstdint>
#include <new>
#include <string>

#include <signal.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"

namespace support {

/// What became of a run: the whole result, none in the way that is told to the caller, or anything
/// else, which no run may end with.
enum Outcome { RIGHT, REFUSED, WRONG };

inline Outcome rightIf(bool condition)
{
    return condition ? RIGHT : WRONG;
}

/// For what is whole or refused.
inline Outcome rightOrRefused(bool isRight, bool isRefused)
{
    return isRight ? RIGHT : isRefused ? REFUSED : WRONG;
}

/// As many as ever come.
constexpr int ALL_FROM_THEN_ON = 1000000;
/// More points than any scenario has: one that has, never comes to its end.
constexpr int MOST_POINTS = 400;
/// What comes in turns has come by then.
constexpr int WARM_UPS = 3;
/// How many attempts more a run may make that fails.
constexpr int MOST_RETRIES = 200;

/// For a scenario that throws nothing.
class NoException
{
    NoException() = default;
};

/// Where a run with failures stands, for its faults.
inline std::string placeText(int point, int count)
{
    return "point " + std::to_string(point) + (count == 1 ? " alone" : " and on");
}

/// Runs scenarios; see `torture`.
template <typename Failing, typename Allowed, typename Body>
class AllocationTorture
{
public:
    explicit AllocationTorture(const Body& body) : m_body(body) {}

    /// Returns how many points there are, and all that was wrong.
    std::string result()
    {
        warmUp();
        runUndisturbed("before all");
        int point = 1;
        while (point <= MOST_POINTS && m_faults.empty() && runWith(point))
            ++point;
        if (point > MOST_POINTS) m_faults += "; too many";
        return std::to_string(point - 1) + " points" + m_faults;
    }

private:
    /// Has all made that is made once and kept, by the library and by the runtime of the language.
    void warmUp()
    {
        try {
            throw std::bad_alloc();
        } catch (const std::bad_alloc&) {
            for (int count = 0; count < WARM_UPS; ++count)
                m_body();
        }
    }
    /// Returns whether there is such a point.
    bool runWith(int point)
    {
        const bool isThere = runWith(point, 1);
        runUndisturbed(placeText(point, 1) + ", then");
        if (isThere) {
            runWith(point, ALL_FROM_THEN_ON);
            runUndisturbed(placeText(point, ALL_FROM_THEN_ON) + ", then");
        }
        return isThere;
    }
    bool runWith(int point, int count)
    {
        const int heldBefore = heldBlocks();
        Outcome outcome = REFUSED;
        bool hasThrown = false;
        int calls = 0;
        {
            const Failing failing(point - 1, count);
            hasThrown = runGuarded(outcome);
            calls = failing.calls();
        }
        const int kept = heldBlocks() - heldBefore;
        const std::string place = placeText(point, count);
        check(!hasThrown, place, "an exception escaped");
        check(outcome != WRONG, place, "wrong");
        check(calls < m_usual + MOST_RETRIES, place, "too many attempts");
        check(kept == 0, place, std::to_string(kept) + " blocks kept");
        return calls >= point;
    }
    void runUndisturbed(const std::string& place)
    {
        const int heldBefore = heldBlocks();
        Outcome outcome = WRONG;
        bool hasThrown = false;
        {
            const Failing failing(0, 0);
            hasThrown = runGuarded(outcome);
            m_usual = failing.calls();
        }
        const int kept = heldBlocks() - heldBefore;
        check(!hasThrown, place, "an exception escaped without a failure");
        check(outcome == RIGHT, place, "not right without a failure");
        check(kept == 0, place, std::to_string(kept) + " blocks kept without a failure");
    }
    /// Returns whether an exception escaped.
    bool runGuarded(Outcome& outcome)
    {
        try {
            outcome = m_body();
        } catch (const Allowed&) {
            return false;
        } catch (...) {
            return true;
        }
        return false;
    }
    void check(bool condition, const std::string& place, const std::string& fault)
    {
        if (!condition) m_faults += "; " + place + ": " + fault;
    }

    const Body& m_body;
    std::string m_faults;
    int m_usual = 0;
};

/// Fails the attempts of the calling thread. `Allowed` may escape from `body` when it does.
template <typename Allowed = NoException, typename Body>
std::string torture(const Body& body)
{
    return AllocationTorture<FailingMalloc, Allowed, Body>(body).result();
}

/// Fails those of all other threads.
template <typename Body>
std::string tortureElsewhere(const Body& body)
{
    return AllocationTorture<FailingMallocElsewhere, NoException, Body>(body).result();
}

/// As `torture`, in a child, for a scenario that prints. Returns what `torture` does.
template <typename Allowed = NoException, typename Body>
std::string tortureInChild(const Body& body)
{
    int answer[2];
    if (pipe(answer) != 0) return "no pipe";
    const ChildResult child =
        runInChild([&] { // standard output and error are what the scenario prints
            const std::string text = torture<Allowed>(body);
            if (write(answer[1], text.data(), text.size()) < 0) _exit(2);
        });
    close(answer[1]);
    std::string text(4096, '\0');
    const ssize_t count = read(answer[0], text.data(), text.size());
    close(answer[0]);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return child.exitCode == 0 ? text : text + " died of " + std::to_string(child.signal);
}

/// What a child that survives ends with, and one that a fault at null ends.
constexpr int SURVIVED_RIGHT = 50;
constexpr int SURVIVED_WITHOUT_POINT = 51;
constexpr int FAULT_AT_NULL = 100;

inline int s_attemptsBefore = 0;

inline int attempts()
{
    return allocatorCalls().allocations - s_attemptsBefore;
}

/// Ends the child with the number of its attempts, for a fault near address 0.
inline void endAtFault(int, siginfo_t* fault, void*)
{
    const bool isNearNull = reinterpret_cast<std::uintptr_t>(fault->si_addr) < 4096;
    _exit(isNearNull ? FAULT_AT_NULL + attempts() : 99);
}

/// Runs `body`, of which `count` attempts fail from `point` on, in a child. Returns its exit code.
template <typename Body>
int endOfChild(const Body& body, int point, int count)
{
    const ChildResult child = runInChild([&] {
        struct sigaction action = {};
        action.sa_flags = SA_SIGINFO;
        action.sa_sigaction = endAtFault;
        sigaction(SIGSEGV, &action, nullptr);
        const int heldBefore = heldBlocks();
        const FailingMalloc failing(point - 1, count);
        s_attemptsBefore = allocatorCalls().allocations;
        const Outcome outcome = body();
        const bool isClean = heldBlocks() == heldBefore;
        if (outcome != RIGHT || !isClean) _exit(isClean ? 52 : 53);
        _exit(attempts() < point ? SURVIVED_WITHOUT_POINT : SURVIVED_RIGHT);
    });
    return child.exitCode;
}

/// As `torture`, for what may end by a fault near address 0 at the attempt that fails, and if not
/// has the right result and keeps nothing. Returns how many points there are, how many of them were
/// survived, and what was wrong.
template <typename Body>
std::string tortureToDeath(const Body& body)
{
    int survived = 0;
    int point = 1;
    for (; point < MOST_POINTS; ++point) {
        const int alone = endOfChild(body, point, 1);
        if (alone == SURVIVED_WITHOUT_POINT) break;
        const int andOn = endOfChild(body, point, ALL_FROM_THEN_ON);
        if (alone == SURVIVED_RIGHT) ++survived;
        for (const int end : {alone, andOn}) {
            if (end == SURVIVED_RIGHT || end == FAULT_AT_NULL + point) continue;
            return "point " + std::to_string(point) + " ended with " + std::to_string(end);
        }
    }
    return std::to_string(point - 1) + " points, " + std::to_string(survived) + " survived";
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_ALLOCATIONTORTURE_H
