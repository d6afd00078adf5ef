#!/bin/sh
# Installs the package offline (Debian's setuptools and pybind11 only) into a fresh virtual
# environment that sees the system's site packages, then imports it and computes a day.
# Usage: pip_install.sh PYTHON SOURCE_DIR BUILD_DIR WORK_DIR
set -eu
python=$1 source_dir=$2 build_dir=$3 work=$4
rm -rf "$work"
mkdir -p "$work/home"
# A copy of the package folder, so that the build leaves nothing in the source tree.
cp -r "$source_dir/python" "$work/src"
rm -rf "$work/src/build" "$work/src"/*.egg-info
"$python" -m venv --system-site-packages "$work/venv"
# The extension's compiler goes through ccache when there is one, as the CMake build does.
if command -v ccache >/dev/null 2>&1; then
  export CC="ccache ${CC:-cc}" CXX="ccache ${CXX:-c++}"
fi
TARVO_SOURCE_DIR=$source_dir TARVO_BUILD_DIR=$build_dir \
  "$work/venv/bin/pip" install --no-build-isolation --no-index --quiet "$work/src"
cd "$work"
# The installed package is used, with the library and the directory it carries.
TARVO_HOME=$work/home "$work/venv/bin/python" -c "
import os, tarvo
assert tarvo.__file__.startswith('$work/venv'), tarvo.__file__
assert os.path.exists(os.path.join(os.path.dirname(tarvo.__file__), 'libtarvocore.so.0'))
print(tarvo.times('Makkah'))
"
