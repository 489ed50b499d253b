// SPDX-License-Identifier: Apache-2.0

#include <zelcommon/version.h>

namespace zel {

const char* libraryVersion()
{
    return ZELCOMMON_VERSION_STRING;
}

} // namespace zel
