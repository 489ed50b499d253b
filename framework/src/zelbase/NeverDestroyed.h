// SPDX-License-Identifier: Apache-2.0
//
// An object of static storage that keeps working while the process exits.

#ifndef ZELCOMMON_SRC_ZELBASE_NEVERDESTROYED_H
#define ZELCOMMON_SRC_ZELBASE_NEVERDESTROYED_H

namespace zelbase {

/// Holds a `T` that is built with it and never destroyed.
template <typename T>
union NeverDestroyed {
    template <typename... Arguments>
    explicit constexpr NeverDestroyed(Arguments... arguments) : object(arguments...)
    {}
    // A union with a member that has a destructor needs one of its own.
    ~NeverDestroyed() {}

    T object;
};

} // namespace zelbase

#endif // ZELCOMMON_SRC_ZELBASE_NEVERDESTROYED_H
