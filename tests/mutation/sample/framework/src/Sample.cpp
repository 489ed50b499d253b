// SPDX-License-Identifier: Apache-2.0

#include "Sample.h"

static_assert(sizeof(int) == 4, "0 < 1");

/* 0 < 1 */
extern const char s_text[] = "0 < 1";
static unsigned int s_calls; // 0 < 1

[[gnu::aligned(16)]] unsigned int same(unsigned int value)
{
    s_calls++;
    return value > 0 ? value : 0;
}

unsigned int calls()
{
    return s_calls;
}
