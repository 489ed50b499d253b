# Not tested here: nothing in this project runs Conan.
import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class Zelcommon(ConanFile):
    name = "zelcommon"
    version = "1.0.0"
    license = "Apache-2.0"
    description = "Common base library of an embedded middleware framework"
    settings = "os", "arch", "compiler", "build_type"
    options = {"with_spdlog": [True, False]}
    default_options = {"with_spdlog": False}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "framework/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def requirements(self):
        if self.options.with_spdlog:
            self.requires("spdlog/[>=1.10 <2]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["ZELCOMMON_HARDENED"] = self.settings.build_type != "Debug"
        toolchain.cache_variables["ZEL_TRACE_WITH_SPDLOG"] = bool(self.options.with_spdlog)
        toolchain.cache_variables["ZEL_TRACE_WITH_DLT"] = False
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        # Users find what the project itself installs for CMake.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs.append(os.path.join("lib", "cmake", "zelcommon"))
