// SPDX-License-Identifier: Apache-2.0

#include <zelcommon.h>

int main()
{
    return std::unicode::String("text").empty() ? 1 : 0;
}
