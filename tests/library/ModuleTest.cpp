// SPDX-License-Identifier: Apache-2.0
//
// The library's objects are one in the process, whichever module asks.

#include <zelcommon.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "library/module.h"

namespace {

template <typename Function>
Function* find(const char* name)
{
    static void* const s_module = dlopen(MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    return s_module != nullptr ? reinterpret_cast<Function*>(dlsym(s_module, name)) : nullptr;
}

TEST(Module, SeesTheSameObjects)
{
    auto* const moduleSees = find<SeenByModule()>("moduleSees");
    ASSERT_NE(nullptr, moduleSees);
    const SeenByModule seen = moduleSees();
    EXPECT_EQ(&std::CommonError, seen.commonError);
    EXPECT_EQ(&std::GlobalErrorHandler::s_disable_abort, seen.disableAbort);
    EXPECT_EQ(&std::GlobalErrorHandler::s_warning_handlers, seen.warningHandlers);
    EXPECT_EQ(threadsafe::TlsBase::ERROR, seen.tlsError);
    EXPECT_EQ(&zel_error, seen.reasonListObject);
}

TEST(Module, RaisesInTheStorageOfTheThread)
{
    auto* const moduleRaises = find<void()>("moduleRaises");
    ASSERT_NE(nullptr, moduleRaises);
    std::StdoutDumpErrorStorage errors;
    moduleRaises();
    EXPECT_TRUE(std::ErrorStorage::equals(std::CommonError));
    EXPECT_STREQ("tests/library/module.cpp", std::ErrorStorage::file());
}

} // namespace
