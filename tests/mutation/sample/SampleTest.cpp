// SPDX-License-Identifier: Apache-2.0
//
// Leaves it open whether 10 is small.

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "framework/src/Sample.h"

namespace {

/// Tells the test of the tool, if it wants to know, that a mutant runs, which then never ends.
void waitInMutant()
{
    const char* const path = std::getenv("SAMPLE_STARTED");
    std::FILE* const started = path == nullptr ? nullptr : std::fopen(path, "w");
    if (started == nullptr) return;
    std::fputs("started\n", started);
    std::fflush(started);
    pause();
}

} // namespace

int main(int count, char**)
{
    if (!isSmall(9)) waitInMutant();
    if (count > 1) return isSmall(9) && !isSmall(11) ? 0 : 1;
    return same(0) == 0 && same(1) == 1 && same(7) == 7 && calls() == 3 && stepped<2>(1) == 3 ? 0
                                                                                              : 1;
}
