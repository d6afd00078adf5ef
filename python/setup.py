"""Builds the extension tarvo._tarvo against libtarvocore and ships the library (and the city
directory) inside the package, so that the installed package needs nothing else.

The library comes from the CMake build folder TARVO_BUILD_DIR when it is set (the project's
own build, so the library is not compiled twice), else from a release build made here.
"""

import os
import shutil
import subprocess
from pathlib import Path

from pybind11.setup_helpers import Pybind11Extension
from setuptools import setup
from setuptools.command.build_ext import build_ext

HERE = Path(__file__).resolve().parent
SOURCE = Path(os.environ.get("TARVO_SOURCE_DIR", HERE.parent)).resolve()
SONAME = "libtarvocore.so.0"


def library_build() -> Path:
    given = os.environ.get("TARVO_BUILD_DIR")
    if given:
        return Path(given).resolve()
    build = HERE / "build" / "tarvocore"
    subprocess.check_call(["cmake", "-S", str(SOURCE), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
                           "-DTARVO_BUILD_TESTS=OFF", "-DTARVO_BUILD_PYTHON=OFF"])
    jobs = os.environ.get("TARVO_JOBS", str(min(os.cpu_count() or 1, 2)))
    subprocess.check_call(["cmake", "--build", str(build), "-j", jobs, "--target", "tarvocore",
                           "tarvo_city_directory"])
    return build


class BuildWithLibrary(build_ext):
    def run(self) -> None:
        build = library_build()
        if not (build / SONAME).exists():
            raise RuntimeError(f"no {SONAME} in {build}: build the target tarvocore there first")
        for extension in self.extensions:
            extension.library_dirs.append(str(build))
        super().run()
        package = Path(self.build_lib) / "tarvo"
        shutil.copyfile(build / SONAME, package / SONAME)
        if (build / "cities.sqlite").exists():
            shutil.copyfile(build / "cities.sqlite", package / "cities.sqlite")


setup(
    ext_modules=[Pybind11Extension(
        "tarvo._tarvo", ["tarvo/_tarvo.cpp"], include_dirs=[str(SOURCE / "include")], libraries=["tarvocore"],
        # The library shipped beside the module.
        extra_link_args=["-Wl,-rpath,$ORIGIN"], cxx_std=17)],
    cmdclass={"build_ext": BuildWithLibrary},
)
