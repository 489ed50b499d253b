// SPDX-License-Identifier: Apache-2.0

#include <zelcommon-chrono.h>

#include <chrono>

// A clock in the eyes of the language, which says so from C++20 on.
static_assert(std::chrono::is_clock_v<zel::Clock>);
