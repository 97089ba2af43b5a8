#!/usr/bin/env bash
# Unpacks another version of Debian's Chromium beside the installed one, to run the engine
# against it:  scripts/fetch-chromium.sh 150.0.7871.100-1~deb12u1 /opt/chromium-150
# then  VEXOR_CHROMIUM_BINARY=/opt/chromium-150/usr/lib/chromium/chromium ctest -R cef
# `apt-cache policy chromium` lists the versions the apt sources offer.
set -euo pipefail
if [ $# -ne 2 ]; then
  echo "usage: $0 VERSION DIR" >&2
  exit 2
fi
version=$1
dir=$(mkdir -p "$2" && cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The binary is in chromium; its resources and locales in chromium-common of the same build.
(cd "$work" && apt-get download "chromium=$version" "chromium-common=$version")
for deb in "$work"/*.deb; do dpkg -x "$deb" "$dir"; done
binary="$dir/usr/lib/chromium/chromium"
"$binary" --version
echo "VEXOR_CHROMIUM_BINARY=$binary"
