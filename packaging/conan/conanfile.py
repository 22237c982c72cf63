"""The recipe of the library for Conan 2. It takes the sources from the tree that it is in."""
import os

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rmdir


class DerkitConan(ConanFile):
    name = "derkit"
    version = "1.0.0"
    license = "MIT"
    description = "Names, object identifiers, algorithm codes and GOST keys of X.509 certificates and PKCS#12 containers"
    topics = ("asn1", "x509", "pkcs12", "pki", "gost")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": False, "fPIC": True}
    implements = ["auto_shared_fpic"]

    def validate(self):
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration(f"{self.name} is a library for Linux")
        check_min_cppstd(self, 14)

    def export_sources(self):
        tree = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "CHANGELOG.md", "cmake/*", "exports/*", "include/*", "asn/*", "pkcs/*",
                        "platform/*", "util/*", "gost/*", "tools/*", "docs/*"):
            copy(self, pattern, src=tree, dst=self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["DERKIT_BUILD_GOST"] = False
        toolchain.cache_variables["DERKIT_BUILD_TOOLS"] = False
        toolchain.cache_variables["DERKIT_BUILD_TESTS"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))
        # Conan writes what CMake and pkg-config read.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))
        rmdir(self, os.path.join(self.package_folder, "share"))

    def package_info(self):
        self.cpp_info.libs = ["derkit"]
        self.cpp_info.set_property("cmake_file_name", "derkit")
        self.cpp_info.set_property("cmake_target_name", "derkit::derkit")
        self.cpp_info.set_property("pkg_config_name", "derkit")
