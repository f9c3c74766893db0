# Shared by the commands at the project's root: messages, failures, paths. Sourced, never run.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache_home=${TANDOR_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/tandorutil}
recipe_hash=$(cat "$root/tools/dependencies.sh" "$root/cmake/mingw-w64.cmake" | sha256sum | cut -c1-12)
dependencies=$cache_home/$recipe_hash
jobs=$(nproc)

say() { printf '==> %s\n' "$*"; }

# fail WHAT REMEDY: one clear sentence, exit 1.
fail() { printf 'error: %s\n' "$*" >&2; exit 1; }

# logged STEP LOG COMMAND...: runs the command with its output in LOG; a failure names the step and the log.
logged() {
    local step=$1 log=$2; shift 2
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 || { tail -n 15 "$log" >&2; fail "$step failed; the whole output is in $log"; }
}
