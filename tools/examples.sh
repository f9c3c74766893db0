#!/usr/bin/env bash
# Runs the examples of README.md and docs/ again and compares what comes out with what the pages show; see
# tools/examples.pl for how pages mark them.
#   tools/examples.sh [BIN]            with the programs in BIN, by default those of the build; fails on a difference
#   tools/examples.sh --renew [BIN]    writes into the pages what came out
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/wine.sh"

renew=()
[ "${1:-}" != --renew ] || { renew=(--renew); shift; }
bin=$(cd "${1:-$root/build/mingw-release/bin}" && pwd)
[ -f "$bin/tandorctl.exe" ] || fail "$bin has no tandorctl.exe; build it, or name the folder that has it"
start_wine
work=$(mktemp -d "$WINEPREFIX/examples.XXXXXX")
mkdir "$work/bin"
printf '#!/bin/sh\nexec "%s" "%s" "$@"\n' "$wine" "$bin/tandorctl.exe" >"$work/bin/tandorctl"
chmod +x "$work/bin/tandorctl"
cd "$root"
PATH=$work/bin:$PATH perl tools/examples.pl "${renew[@]}" "$work" README.md docs/*.md
