#!/usr/bin/env bash
# Brings every Debian package the project builds, runs and tests with onto this machine.
# Idempotent: refreshes the package lists once, and only when something is missing.
set -euo pipefail

packages=(
  # build
  build-essential cmake ninja-build ccache pkg-config
  clang-14 libclang-rt-14-dev
  # framework and bench host
  qtbase5-dev qtbase5-dev-tools libfontconfig-dev
  # the simple web view, the places database and the bench's service endpoint
  libqt5webkit5-dev libqt5sql5-sqlite libcpp-httplib-dev
  libx11-dev libxext-dev
  # native windows shown inside the UI: redirected, followed and read through shared memory
  libxcomposite-dev libxdamage-dev libxfixes-dev
  # browser engine; its DevTools messages are parsed with simdjson, its windows made through XCB
  chromium libsimdjson-dev libxcb1-dev
  # display for tests and screenshots
  xvfb xauth
  # the framework's five proportional and five monospaced fonts, and CJK samples
  fonts-dejavu-core fonts-liberation2 fonts-freefont-ttf
  fonts-noto-mono fonts-hack fonts-wqy-microhei
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # the engine's JSON bench compares these with simdjson
  nlohmann-json3-dev rapidjson-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
  exit 0
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "install-deps: installing ${missing[*]}"
$sudo apt-get update -q
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
