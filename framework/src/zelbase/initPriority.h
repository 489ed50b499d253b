// SPDX-License-Identifier: Apache-2.0
//
// When the library's own initialisers run.

#ifndef ZELCOMMON_SRC_ZELBASE_INITPRIORITY_H
#define ZELCOMMON_SRC_ZELBASE_INITPRIORITY_H

/// The earliest that a program may ask for, so that in a statically linked program, too, what the
/// library sets up is there before the program's own objects and fork handlers, and gone after
/// them.
#define ZELCOMMON_INIT_PRIORITY 101

#endif // ZELCOMMON_SRC_ZELBASE_INITPRIORITY_H
