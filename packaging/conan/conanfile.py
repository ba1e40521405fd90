"""The recipe for Conan 2. In the folder of the sources: conan create packaging/conan"""

import os
import re

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class SinewConan(ConanFile):
    name = "sinew"
    description = "Exact, fast low-level geometry for 3D and 2D graphics hosts"
    license = "MIT"
    topics = ("geometry", "skinning", "sparse", "graphics")
    package_type = "library"
    settings = "os", "compiler", "build_type", "arch"
    options = {"shared": [True, False], "fPIC": [True, False], "portable_math": [True, False]}
    default_options = {"shared": True, "fPIC": True, "portable_math": False}

    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        text = load(self, os.path.join(self._root(), "CMakeLists.txt"))
        self.version = re.search(r"project\(sinew VERSION ([0-9.]+)", text).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "sinew/*", "debuggers/*"):
            copy(self, pattern, self._root(), self.export_sources_folder)

    def config_options(self):
        if self.settings.os == "Windows":
            del self.options.fPIC

    def configure(self):
        if self.options.shared:
            self.options.rm_safe("fPIC")

    def validate(self):
        check_min_cppstd(self, 17)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        # BUILD_SHARED_LIBS, which the option `shared` sets, chooses the kind of library.
        toolchain.cache_variables["SINEW_MATH"] = "portable" if self.options.portable_math else "system"
        for part in ("TESTS", "TOOL", "EXAMPLES", "SELFTEST", "INSTALL_LICENSE"):
            toolchain.cache_variables[f"SINEW_{part}"] = False
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        self.cpp_info.libs = ["sinew"]
        self.cpp_info.set_property("cmake_target_name", "sinew::sinew")
        self.cpp_info.set_property("pkg_config_name", "sinew")
        if self.settings.compiler in ("gcc", "clang", "apple-clang"):
            self.cpp_info.cxxflags = ["-ffp-contract=off"]  # inline functions keep their bits
        if self.settings.os == "Windows" and self.options.shared:
            self.cpp_info.defines = ["SINEW_DLL"]
