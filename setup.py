"""Builds the Python package: the library, its host core and the bindings by CMake, into one extension module.

    pip install .        needs no network: setuptools, wheel, pybind11 and numpy are those of the interpreter
    pip wheel --no-deps .

CMAKE_ARGS in the environment holds more options for CMake.
"""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

TOP = pathlib.Path(__file__).parent.resolve()
PAGE = TOP / "build" / "web" / "web" / "drape.html"
VERSION = re.search(r"project\(drape VERSION ([\d.]+)", (TOP / "CMakeLists.txt").read_text()).group(1)


class CMakeBuild(build_ext):
    """The module and the stub that is made with it, put where setuptools wants them."""

    def build_extension(self, ext):
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        build = pathlib.Path(self.build_temp).resolve()
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        options = ["CMAKE_BUILD_TYPE=Release", "BUILD_SHARED_LIBS=OFF", "DRAPE_INSTALL=OFF", "DRAPE_BUILD_PYTHON=ON"]
        options.append(f"DRAPE_PYTHON={sys.executable}")
        wanted = [*(f"-D{option}" for option in options), *shlex.split(os.environ.get("CMAKE_ARGS", ""))]
        subprocess.run(["cmake", "-S", TOP, "-B", build, *generator, *wanted], check=True)
        jobs = str(self.parallel or os.cpu_count() or 1)
        subprocess.run(["cmake", "--build", build, "--target", "drape_package", "-j", jobs], check=True)
        target.parent.mkdir(parents=True, exist_ok=True)
        package = build / "python" / "drape"
        for file in (package / target.name, package / "lib.pyi"):
            shutil.copy(file, target.parent)
        # The page is built apart, with Emscripten, and goes along if it's there.
        if PAGE.is_file():
            shutil.copy(PAGE, target.parent / "page.html")


setup(
    name="drape",
    version=VERSION,
    description="Lays woven fabric over a mould: where it shears, what pattern to cut, where to start",
    long_description=(TOP / "docs" / "python.md").read_text(),
    long_description_content_type="text/markdown",
    license="MIT",
    license_files=["LICENSE"],
    python_requires=">=3.9",
    install_requires=["numpy"],
    extras_require={"plot": ["matplotlib"], "meshio": ["meshio"]},
    package_dir={"": "python"},
    packages=["drape"],
    package_data={"drape": ["py.typed", "*.pyi", "page.html"]},
    ext_modules=[Extension("drape._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    zip_safe=False,
)
