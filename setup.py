"""Builds the vimra package through the project's CMake build (release, no
tests, benchmarks or examples) and puts the native module and the libraries
it loads next to the Python files. pyproject.toml holds the metadata."""

import glob
import os
import shutil
import subprocess
import sys

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

ROOT = os.path.dirname(os.path.abspath(__file__))


class CMakeBuild(build_py):
    def run(self):
        super().run()
        build = os.path.join(ROOT, "build", "pip")
        subprocess.check_call([
            "cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
            f"-DPython3_EXECUTABLE={sys.executable}", "-DVIMRA_BUILD_TESTS=OFF", "-DVIMRA_BUILD_BENCH=OFF",
            "-DVIMRA_BUILD_EXAMPLES=OFF", "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON", "-DCMAKE_INSTALL_RPATH=$ORIGIN"])
        jobs = os.environ.get("VIMRA_BUILD_JOBS", "2")
        subprocess.check_call(["cmake", "--build", build, "--target", "vimra_python", "-j", jobs])
        target = os.path.join(self.build_lib, "vimra")
        os.makedirs(target, exist_ok=True)
        built = os.path.join(build, "python", "vimra")
        for path in glob.glob(os.path.join(built, "*")) + glob.glob(os.path.join(build, "lib", "*.so*")):
            if os.path.isfile(path):
                shutil.copy2(path, target)


class NativeDistribution(Distribution):
    def has_ext_modules(self):
        return True  # a platform wheel: it carries a compiled module


setup(cmdclass={"build_py": CMakeBuild}, distclass=NativeDistribution)
