#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs every test under a private X server.
# Arguments go to ctest (e.g. -R DataValue).
#
# --sanitize instead builds the engine, the plug-in's browser and CAN tests and the bench's
# browser tests with AddressSanitizer and UndefinedBehaviorSanitizer, and the threaded ones
# with ThreadSanitizer (build-asan/, build-tsan/ beside build/), and runs them, the stress
# tests at full length. Any report fails the run.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${ORVANE_BUILD_DIR:-$root/build}"

"$root/scripts/install-deps.sh"

export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
chmod 700 "$XDG_RUNTIME_DIR"
xvfb=(xvfb-run --auto-servernum --server-args="-screen 0 1920x1200x24 -nolisten tcp -noreset")

if [ "${1:-}" != --sanitize ]; then
  "$root/scripts/build.sh"
  "${xvfb[@]}" ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)" "$@"
  exit
fi

address_programs=(cef_unit_tests cef_contract_load_tests cef_contract_page_tests
  cef_contract_failure_tests cef_contract_lifetime_tests can_tests plugin_can_tests
  plugin_web_pages_tests plugin_browser_tests plugin_browser_Chromium_tests
  plugin_browser_composite_tests host_browser_tests)
# What the programs above load or start rather than link.
address_extras=(DiagnosticTools orvane-bench)
thread_programs=(cef_unit_tests cef_contract_lifetime_tests cef_contract_failure_tests
  can_tests plugin_can_tests)

# Builds the programs with one sanitizer in a folder of their own.
sanitized_build() {
  local sanitizer=$1 dir=$2
  shift 2
  if [ ! -f "$dir/CMakeCache.txt" ]; then
    cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DORVANE_SANITIZE="$sanitizer" -DORVANE_BUILD_BENCH=OFF
  fi
  local targets=()
  for t in "$@"; do targets+=(--target "$t"); done
  cmake --build "$dir" --parallel "$(nproc)" "${targets[@]}"
}

export VEXOR_STRESS_ROUNDS=50
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# Leaks are left to the libraries' owners: Qt, fontconfig and X keep caches for the process.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=0:exitcode=86
export TSAN_OPTIONS="halt_on_error=1:exitcode=86:second_deadlock_stack=1:suppressions=$root/scripts/tsan.supp"

sanitized_build address "$root/build-asan" "${address_programs[@]}" "${address_extras[@]}"
"${xvfb[@]}" "$root/scripts/run-programs.sh" "$root/build-asan" "${address_programs[@]}"
sanitized_build thread "$root/build-tsan" "${thread_programs[@]}"
"${xvfb[@]}" "$root/scripts/run-programs.sh" "$root/build-tsan" "${thread_programs[@]}"
echo "sanitizer run: no reports"
