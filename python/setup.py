"""Builds the native module with the program's own CMake build.

The module links the libraries of one build tree of the repository: the one
in $CODEBOOK_BUILD_DIR, else <repository>/build (configured here when it is
not yet). The installed module finds them there, so the program, the R
package and this package share one build of the libraries.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = Path(__file__).resolve().parent
REPOSITORY = HERE.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = Path(os.environ.get("CODEBOOK_BUILD_DIR", REPOSITORY / "build")).resolve()
        # The interpreter itself, not a virtual environment's link to it: the
        # build tree outlives the environment.
        interpreter = os.path.realpath(sys.executable)
        arguments = ["cmake", "-S", str(REPOSITORY), "-B", str(build), "-DCODEBOOK_PYTHON=ON",
                     f"-DCODEBOOK_PYTHON_EXECUTABLE={interpreter}"]
        if not (build / "CMakeCache.txt").exists():
            arguments += ["-G", "Ninja", "-DCODEBOOK_BUILD_BENCH=OFF"]
        subprocess.run(arguments, check=True, stdout=subprocess.DEVNULL)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 2))
        subprocess.run(["cmake", "--build", str(build), "--target", "dscodebook_native", "-j", jobs], check=True)
        built = sorted((build / "python" / "dscodebook").glob("_native*.so"))
        if not built:
            raise RuntimeError(f"the native module was not built in {build / 'python' / 'dscodebook'}")
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built[-1], target)


setup(ext_modules=[Extension("dscodebook._native", sources=[])], cmdclass={"build_ext": CMakeBuild})
