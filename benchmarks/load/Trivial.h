// SPDX-License-Identifier: Apache-2.0

#ifndef ZELCOMMON_BENCHMARKS_LOAD_TRIVIAL_H
#define ZELCOMMON_BENCHMARKS_LOAD_TRIVIAL_H

#include <string>

namespace bench {

std::string trivialText();

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_LOAD_TRIVIAL_H
