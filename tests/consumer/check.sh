#!/usr/bin/env bash
# Installs the built library into a scratch prefix, builds a title against the installed
# package with find_package, and runs it.
set -euo pipefail
build=$1 source=$2 toolchain=$3 runner=$4
work=$build/consumer-check
rm -rf "$work"
cmake --install "$build" --prefix "$work/install" >/dev/null
cmake -S "$source" -B "$work/build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_PREFIX_PATH="$work/install" \
      -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/build" >/dev/null
cp "$work/install/bin/Velnor11.dll" "$work/build/"
cd "$work/build"
"$runner" consumer.exe
