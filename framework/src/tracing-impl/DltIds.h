// SPDX-License-Identifier: Apache-2.0
//
// Ids of DLT: four characters that stand for a name, and for no other name of the process.
//
//     DltIds ids;
//     ids.take("net_tcp"); // "NETT"
//     ids.take("net_two"); // "NET1"

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_DLTIDS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_DLTIDS_H

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace tracing {
namespace impl {

/// Not thread-safe.
class DltIds
{
public:
    /// Characters of an id.
    static constexpr std::size_t LENGTH = 4;

    /// Returns an id that was not returned before: the first letters and digits of `name`, of ASCII
    /// alone, in capitals; "NONE" if it has none. If that is taken, a number takes the place of the
    /// last characters, as in "NET1" to "NET9" and "NE10". It depends on the names before, and on
    /// nothing else. Returns "" when there is no number left.
    std::string take(std::string_view name);

private:
    std::set<std::string> m_taken;
    /// The last number of each beginning.
    std::map<std::string, unsigned int> m_numbers;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_DLTIDS_H
