#!/usr/bin/env bash
# Fails when a file of the project reaches for a folder beside the checkout: a clone anywhere
# must build, test and benchmark with nothing but its own tree.
set -euo pipefail
cd "$(dirname "$0")/.."

# A path climbing out of the source root, however the root is spelt.
pattern='\.\./shared\b|(PROJECT_SOURCE_DIR|CMAKE_SOURCE_DIR|ORVANE_[A-Z_]*DIR[A-Z_]*|[sS]ourceDir\(\)|\$\{?root\}?)[}"]*( *\+ *QStringLiteral\(| *\+ *)?"?/\.\.(/|"|$)'
self=scripts/check-self-contained.sh
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  hits=$(git grep -nIE "$pattern" -- . ":!$self" || true)
else
  hits=$(grep -rnIE --exclude-dir=build --exclude-dir=.git "$pattern" . | grep -v "^\./$self:" || true)
fi
if [ -n "$hits" ]; then
  echo "check-self-contained: these lines read outside the checkout:" >&2
  echo "$hits" >&2
  exit 1
fi
echo "check-self-contained: every file stays inside the checkout"
