import os
import subprocess


class CMakeToolchain:
    def __init__(self, conanfile):
        self.conanfile, self.cache_variables = conanfile, {}

    def generate(self):
        shared = "ON" if self.conanfile.options.shared else "OFF"
        self.conanfile.cache_variables = {"BUILD_SHARED_LIBS": shared, **self.cache_variables}


class CMake:
    def __init__(self, conanfile):
        self.conanfile = conanfile

    def run(self, *arguments):
        subprocess.run(["cmake", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)

    def configure(self):
        it = self.conanfile
        self.run("-G", "Ninja", "-S", it.source_folder, "-B", it.build_folder, "-DCMAKE_INSTALL_LIBDIR=lib",
                 f"-DCMAKE_CXX_COMPILER={os.environ['CXX']}", f"-DCMAKE_BUILD_TYPE={it.settings.build_type}",
                 f"-DCMAKE_INSTALL_PREFIX={it.package_folder}",
                 *(f"-D{name}={'OFF' if value is False else value}" for name, value in it.cache_variables.items()))

    def build(self):
        self.run("--build", self.conanfile.build_folder)

    def install(self):
        self.run("--install", self.conanfile.build_folder)


def cmake_layout(conanfile):
    assert conanfile
