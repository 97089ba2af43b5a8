#!/usr/bin/env bash
# Installs what is missing, builds, and starts the bench host with the plug-in in developer
# mode. With a display it opens the window; without one it runs off screen and writes a
# screenshot and a view dump. Arguments go to orvane-bench (see orvane-bench --help).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${ORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" orvane-bench DiagnosticTools

export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
chmod 700 "$XDG_RUNTIME_DIR"
bench=("$build/bin/orvane-bench" --set GUI_developerMode=true)

if [ -n "${DISPLAY:-}" ]; then
  exec "${bench[@]}" "$@"
fi
shot="$build/bench-screenshot.png"
dump="$build/bench-views.json"
"${bench[@]}" --offscreen --screenshot "$shot" --dump-views "$dump" "$@"
echo "No display: ran off screen. Screenshot: $shot  View dump: $dump"
