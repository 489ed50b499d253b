// SPDX-License-Identifier: Apache-2.0
//
// A function that runs ahead of the initialisers of all libraries. The sanitizers, whose own would
// be late then, do without: there, `SUPPORT_FIRST_INITIALISER` is not defined.
//
//     #ifdef SUPPORT_FIRST_INITIALISER
//     SUPPORT_FIRST_INITIALISER = [] { s_isEarly = true; };

#ifndef ZELCOMMON_TESTS_SUPPORT_FIRSTINITIALISER_H
#define ZELCOMMON_TESTS_SUPPORT_FIRSTINITIALISER_H

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SUPPORT_WITHOUT_FIRST_INITIALISERS
#endif
#endif

#ifndef SUPPORT_WITHOUT_FIRST_INITIALISERS
#define SUPPORT_FIRST_INITIALISER                                                                  \
    __attribute__((section(".preinit_array"), used)) void (*const s_firstInitialiser)()
#endif

#endif // ZELCOMMON_TESTS_SUPPORT_FIRSTINITIALISER_H
