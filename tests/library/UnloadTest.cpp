// SPDX-License-Identifier: Apache-2.0
//
// A program that has the library only through a module. Unloading that leaves the library in place:
// a thread may still be in its code, and its fork handlers stay registered.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "library/module.h"

namespace {

TEST(Unload, LibraryStays)
{
    ASSERT_EQ(nullptr, dlopen("libzelcommon.so.1", RTLD_NOW | RTLD_NOLOAD));
    void* const module = dlopen(MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, module);
    auto* const moduleSees = reinterpret_cast<SeenByModule (*)()>(dlsym(module, "moduleSees"));
    ASSERT_NE(nullptr, moduleSees);
    const void* const commonError = moduleSees().commonError;

    ASSERT_EQ(0, dlclose(module));
    Dl_info info;
    ASSERT_NE(0, dladdr(commonError, &info));
    EXPECT_STREQ("_ZSt11CommonError", info.dli_sname);
}

} // namespace
