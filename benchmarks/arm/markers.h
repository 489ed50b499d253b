// SPDX-License-Identifier: Apache-2.0
//
// How the measured program tells the counting plugin where a bracket begins and ends: by a system
// call whose number no kernel knows, and which therefore does nothing but fail.

#ifndef ZELCOMMON_BENCHMARKS_ARM_MARKERS_H
#define ZELCOMMON_BENCHMARKS_ARM_MARKERS_H

namespace markers {

/// Far beyond the system calls that there are, and below those that are private to ARM.
constexpr long SYSTEM_CALL = 0xE000;

/// The argument.
enum Marker : long {
    /// A bracket whose instructions do not count.
    BEGIN_WARM_UP,
    /// A bracket with nothing in it, whose instructions are the cost of a bracket.
    BEGIN_EMPTY,
    /// A bracket whose instructions are printed, without that cost and with the end of the line.
    BEGIN_COUNTED,
    END,
};

} // namespace markers

#endif // ZELCOMMON_BENCHMARKS_ARM_MARKERS_H
