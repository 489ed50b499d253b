// SPDX-License-Identifier: Apache-2.0
//
// The debug information of the trace client, which the library itself is shipped without.

#include <tracing-impl/Client.h>

extern const tracing::impl::Client* const knownClient;
const tracing::impl::Client* const knownClient = nullptr;
