// SPDX-License-Identifier: Apache-2.0
//
// Loads the module that knows DLT.

#include "Sinks.h"

#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace tracing {
namespace impl {

namespace {

constexpr const char* MODULE = "libtracing-impl-dlt.so";
constexpr const char* MAKER = "tracing_impl_make_dlt_sink";

/// Returns the module beside the library that this code is in; without one there, its mere name,
/// for which the loader looks.
std::string moduleFile()
{
    Dl_info info = {};
    if (dladdr(MODULE, &info) == 0 || info.dli_fname == nullptr) return MODULE;
    const std::string library = info.dli_fname;
    const std::size_t slash = library.rfind('/');
    if (slash == std::string::npos) return MODULE;
    std::string beside = library.substr(0, slash + 1) + MODULE;
    return access(beside.c_str(), F_OK) == 0 ? beside : MODULE;
}

} // namespace

SinkPtr loadDltSink(const SinkContext& context, std::string& reason)
{
    using Maker = Sink* (*)(const SinkContext&);
    // Never unloaded: DLT has threads of its own.
    void* const module = dlopen(moduleFile().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        reason = dlerror();
        return nullptr;
    }
    const auto make = reinterpret_cast<Maker>(dlsym(module, MAKER));
    if (make == nullptr) {
        reason = moduleFile() + " is another module";
        return nullptr;
    }
    SinkPtr sink(make(context));
    if (sink == nullptr) reason = "DLT does not start, or is in use in this process";
    return sink;
}

} // namespace impl
} // namespace tracing
