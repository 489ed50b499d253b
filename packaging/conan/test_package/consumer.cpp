// SPDX-License-Identifier: Apache-2.0

#include <zelcommon.h>

int main()
{
    return std::unicode::String("pump") == std::unicode::String("pump") ? 0 : 1;
}
