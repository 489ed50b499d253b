// SPDX-License-Identifier: Apache-2.0
//
// The program whose instructions are counted. It is linked with the shared library, as programs on
// the device are, so that a call costs what it costs there.

#include "Bracket.h"
#include "Cases.h"

namespace {

/// What the counter itself is held against: 2 instructions and 499 times 2.
inline void executeThousand()
{
    int left = 0;
    asm volatile("nop\n\t"
                 "movw %0, #499\n"
                 "1:\n\t"
                 "subs %0, %0, #1\n\t"
                 "bne 1b"
                 : "=r"(left)
                 :
                 : "cc");
}

} // namespace

int main()
{
    counts::bracket(markers::BEGIN_EMPTY, [] {});
    counts::measure("bracket/1000", 1, [] { executeThousand(); });
    counts::errors();
    counts::tracing();
    counts::textBuilding();
    counts::textConversion();
    counts::textComparison();
    counts::textSearch();
    counts::textComposition();
    counts::uuids();
    counts::streams();
    counts::threads();
}
