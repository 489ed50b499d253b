// SPDX-License-Identifier: Apache-2.0

#include "Trivial.h"

int main()
{
    return bench::trivialText().empty() ? 1 : 0;
}
