// SPDX-License-Identifier: Apache-2.0

#include "Sample.h"

bool isSmall(unsigned int value)
{
    return value < 10;
}
