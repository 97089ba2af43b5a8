#!/usr/bin/env bash
# Runs test programs of one build folder directly (not through CTest), each on its own, and
# stops at the first that fails or that a sanitizer reports on. The sanitizer run uses it.
# Usage: run-programs.sh BUILD_DIR PROGRAM...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=$1
shift
for name in "$@"; do
  path=$(find "$dir"/bin* -maxdepth 1 -name "$name" -type f | head -n 1)
  if [ -z "$path" ]; then
    echo "run-programs: $name not built in $dir" >&2
    exit 1
  fi
  echo "== $name ($(basename "$dir"))"
  # The bench and the engine's own tests choose their platform themselves.
  case $name in
    cef_*|host_*) env -u QT_QPA_PLATFORM "$path" --gtest_brief=1 ;;
    *) QT_QPA_PLATFORM=offscreen ORVANE_SOURCE_DIR="$root" "$path" --gtest_brief=1 ;;
  esac
done
