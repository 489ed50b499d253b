// SPDX-License-Identifier: Apache-2.0

#ifndef SAMPLE_H
#define SAMPLE_H

bool isSmall(unsigned int value);
unsigned int same(unsigned int value);
unsigned int calls();

template <unsigned int STEP>
unsigned int stepped(unsigned int value)
{
    return value + STEP;
}

#endif
