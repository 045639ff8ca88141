#!/usr/bin/env bash
# Installs the build into a fresh prefix and runs the installed tool from there with no library
# path: it must find libnybase through its own run path.
set -euo pipefail
build=${1:?usage: install.sh BUILD_DIR}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
cd "$prefix"
env -u LD_LIBRARY_PATH LD_LIBRARY_PATH= "$prefix/bin/nybase" --version
env -u LD_LIBRARY_PATH LD_LIBRARY_PATH= "$prefix/bin/nybase" demo >/dev/null
