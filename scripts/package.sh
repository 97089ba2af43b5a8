#!/usr/bin/env bash
# Builds the bench and writes its Debian package into build/ (orvane-bench_VERSION_ARCH.deb).
# Install it with: sudo apt install ./build/orvane-bench_*.deb
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${ORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" orvane-bench DiagnosticTools orvane-host-command vexor-cef-launcher
(cd "$build" && cpack -G DEB)
ls "$build"/orvane-bench_*.deb
