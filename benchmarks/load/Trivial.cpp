// SPDX-License-Identifier: Apache-2.0
//
// As little as a shared library in C++ can be.

#include "Trivial.h"

namespace bench {

std::string trivialText()
{
    return "text";
}

} // namespace bench
