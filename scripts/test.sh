#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs every test under a private X server.
# Arguments go to ctest (e.g. -R DataValue).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${ORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh"

export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
chmod 700 "$XDG_RUNTIME_DIR"
xvfb-run --auto-servernum --server-args="-screen 0 1920x1200x24 -nolisten tcp -noreset" \
  ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)" "$@"
