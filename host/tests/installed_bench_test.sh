#!/usr/bin/env bash
# An installed bench, run from a folder of its own with no options, finds its plug-in, its
# assets and its helpers. Installs the build into a scratch root and runs it from there.
set -euo pipefail
build=$1
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
DESTDIR="$stage" cmake --install "$build" --prefix /usr >/dev/null
mkdir "$stage/elsewhere"
cd "$stage/elsewhere"
export XDG_RUNTIME_DIR="$stage" XDG_DATA_HOME="$stage/data"
out=$("$stage/usr/bin/orvane-bench" --offscreen --service-port 0 --set GUI_developerMode=true \
  --screenshot shot.png 2>&1) || { echo "$out"; exit 1; }
fail() { echo "installed bench: $1"; echo "$out"; exit 1; }
grep -q "Plug-in loaded from $stage/usr/lib/orvane/plugins/DiagnosticTools/libDiagnosticTools.so" <<<"$out" \
  || fail "the plug-in was not found beside the bench"
grep -q "Network services loaded" <<<"$out" || fail "the network services' module was not found"
[ -x "$stage/usr/lib/orvane/vexor-cef-launcher" ] || fail "no browser launcher"
[ -x "$stage/usr/lib/orvane/host-commands/arm-ecall" ] || fail "no host commands"
[ -f "$stage/usr/lib/orvane/plugins/DiagnosticTools/assets/web_content/vitals/vitals.html" ] \
  || fail "the plug-in's assets do not resolve"
[ -f "$stage/usr/vexor/UI/assets/web_content/manual/index.html" ] || fail "no owner's manual"
[ -s shot.png ] || fail "an empty screenshot"
# Its browser starts with the launcher beside the engine, not in the working folder.
echo 'expect-log "CefInitialize success"' >script.txt
out=$("$stage/usr/bin/orvane-bench" --offscreen --service-port 0 --browser about:blank \
  --script script.txt 2>&1) || fail "the browser did not start"
echo "installed bench: runs from $stage/usr/bin with its plug-in, assets, helpers and browser"
