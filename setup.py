"""Builds the quillon module with the project's CMake, and puts the library beside it."""
import os
import pathlib
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

TOP = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve().parent
        subprocess.run(["cmake", "-S", TOP, "-B", build, "-DCMAKE_BUILD_TYPE=Release", "-DQUILLON_PYTHON_WHEEL=ON",
                        "-DQUILLON_BUILD_TESTS=OFF", "-DQUILLON_BUILD_BENCH=OFF", "-DQUILLON_BUILD_TOOL=OFF",
                        f"-DPython3_EXECUTABLE={sys.executable}"], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "quillon_python", "-j", str(os.cpu_count() or 1)],
                       check=True)
        target.mkdir(parents=True, exist_ok=True)
        module = next((build / "python").glob("quillon*.so"))
        shutil.copy2(module, self.get_ext_fullpath(ext.name))
        shutil.copy2(build / "python/quillon.pyi", target / "quillon.pyi")
        for library in ("libquillon.so.1", "libquillon_afx.so.1"):  # the names the module asks for
            shutil.copy2(build / "lib" / library, target / library)


setup(ext_modules=[Extension("quillon", sources=[])], cmdclass={"build_ext": CMakeBuild})
