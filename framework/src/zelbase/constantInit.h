// SPDX-License-Identifier: Apache-2.0
//
// Proof that an object needs no initialiser at run time.

#ifndef ZELCOMMON_SRC_ZELBASE_CONSTANTINIT_H
#define ZELCOMMON_SRC_ZELBASE_CONSTANTINIT_H

/// Refuses to compile the object that it stands before unless that is initialised at compile time,
/// so that other libraries' initialisers can use it, whichever runs first.
#ifdef __clang__
#define ZELCOMMON_CONSTANT_INIT [[clang::require_constant_initialization]]
#else
#define ZELCOMMON_CONSTANT_INIT __constinit
#endif

#endif // ZELCOMMON_SRC_ZELBASE_CONSTANTINIT_H
