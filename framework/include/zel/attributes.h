// SPDX-License-Identifier: Apache-2.0
//
// Compiler attributes of the public headers: what the shared library exports, what is expanded in
// its callers or kept out of their way, how variable arguments are checked, and which fields a lock
// guards.

#ifndef ZELCOMMON_ZEL_ATTRIBUTES_H
#define ZELCOMMON_ZEL_ATTRIBUTES_H

/// Makes a class, function or object part of the shared library's interface.
#define ZEL_EXPORT __attribute__((visibility("default")))

/// Keeps a private member of an exported class out of the shared library's interface.
#define ZEL_LOCAL __attribute__((visibility("hidden")))

/// A function that is expanded in its caller at every level of optimisation, so that no copy of it
/// is ever shared between objects that were compiled with other settings.
#define ZEL_ALWAYS_INLINE __attribute__((always_inline)) inline

/// A function that is hardly ever called: its callers are laid out for the case without the call.
#define ZEL_COLD __attribute__((cold))

/// Argument number `text` (counted from 1, `this` included) is a printf format whose values begin
/// at argument number `first`.
#define ZEL_PRINTF_FORMAT(text, first) __attribute__((__format__(__printf__, text, first)))

/// A function whose variable arguments end with a null pointer.
#define ZEL_NULL_TERMINATED __attribute__((__sentinel__))

// What clang's thread-safety analysis (-Wthread-safety) checks; nothing to other compilers.
#ifdef __clang__
/// An attribute of the analysis; the macros below name them.
#define ZEL_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define ZEL_THREAD_ANNOTATION(annotation)
#endif

/// A class of locks; `kind` is what messages call it.
#define ZEL_CAPABILITY(kind) ZEL_THREAD_ANNOTATION(capability(kind))
/// A class that holds a lock for as long as an object of it lives.
#define ZEL_SCOPED_CAPABILITY ZEL_THREAD_ANNOTATION(scoped_lockable)
/// A field that may be touched only while the lock is held.
#define ZEL_GUARDED_BY(lock) ZEL_THREAD_ANNOTATION(guarded_by(lock))
/// A function that the caller may call only while it holds the locks.
#define ZEL_REQUIRES(...) ZEL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// A function that the caller may call only while it does not hold the locks.
#define ZEL_EXCLUDES(...) ZEL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// A function that locks: its object, or the locks named.
#define ZEL_ACQUIRE(...) ZEL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// A function that unlocks: its object, or the locks named.
#define ZEL_RELEASE(...) ZEL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// A function that locks if it returns the value named first.
#define ZEL_TRY_ACQUIRE(...) ZEL_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// A function whose locking the analysis does not look into.
#define ZEL_NO_THREAD_SAFETY_ANALYSIS ZEL_THREAD_ANNOTATION(no_thread_safety_analysis)

#endif // ZELCOMMON_ZEL_ATTRIBUTES_H
