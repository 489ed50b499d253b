// SPDX-License-Identifier: Apache-2.0
//
// The brackets around measured code. Without the counting plugin they do nothing.
//
//     const String text(sample());
//     counts::measure("text/copy", 1, [&] { counts::keep(String(text)); });

#ifndef ZELCOMMON_BENCHMARKS_ARM_BRACKET_H
#define ZELCOMMON_BENCHMARKS_ARM_BRACKET_H

#include <string>

#include "markers.h"

namespace counts {

/// Runs of a case before the one that counts: they bind the functions and fill the allocator's
/// caches.
constexpr int WARM_UPS = 3;

/// The compiler takes `value` for used and all memory for changed.
template <typename Type>
inline void keep(const Type& value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

void begin(markers::Marker marker);
void end();

/// Prints the name and the units of a case, a space behind each.
void printName(const std::string& name, unsigned int units);

/// Returns true in a fresh child process, and false in this one when the child is gone. Ends the
/// process if the child failed.
bool enterChild();
[[noreturn]] void leaveChild();

/// Warms `body` up and runs it in a bracket of the kind `last`.
template <typename Body>
void bracket(markers::Marker last, Body body)
{
    for (int run = 0; run <= WARM_UPS; ++run) {
        begin(run < WARM_UPS ? markers::BEGIN_WARM_UP : last);
        body();
        end();
    }
}

/// Prints a line: `name`, `units` (what the count is to be divided by: kilobytes or pieces) and the
/// instructions that `body` takes. Each case has a process of its own, so that what one leaves in
/// the allocator is nothing to the others.
template <typename Body>
void measure(const std::string& name, unsigned int units, Body body)
{
    if (!enterChild()) return;
    printName(name, units);
    bracket(markers::BEGIN_COUNTED, body);
    leaveChild();
}

} // namespace counts

#endif // ZELCOMMON_BENCHMARKS_ARM_BRACKET_H
