// SPDX-License-Identifier: Apache-2.0
//
// Modules that are loaded in place of the sink for DLT.

#include <tracing-impl/Sinks.h>
#include <zel/attributes.h>

#ifdef HAS_MAKER
/// As the maker of the sink where DLT does not start.
extern "C" ZEL_EXPORT tracing::impl::Sink*
tracing_impl_make_dlt_sink(const tracing::impl::SinkContext&)
{
    return nullptr;
}
#else
extern "C" ZEL_EXPORT int something_else()
{
    return 0;
}
#endif
