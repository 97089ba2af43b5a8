#!/usr/bin/env bash
# Configures (once) and builds the project in build/. Extra arguments are build targets.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${ORVANE_BUILD_DIR:-$root/build}"

if [ ! -f "$build/CMakeCache.txt" ]; then
  generator=()
  command -v ninja >/dev/null && generator=(-G Ninja)
  cmake -S "$root" -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
targets=()
for t in "$@"; do targets+=(--target "$t"); done
cmake --build "$build" --parallel "$(nproc)" "${targets[@]}"
