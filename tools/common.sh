# Shared by the commands at the project's root: messages, failures, paths. Sourced, never run.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache_home=${TANDOR_CACHE:-${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/tandorutil}
recipe_hash=$(cat "$root/tools/dependencies.sh" "$root/cmake/mingw-w64.cmake" | sha256sum | cut -c1-12)
dependencies=$cache_home/$recipe_hash
jobs=$(nproc)

say() { printf '==> %s\n' "$*"; }

# fail WHAT REMEDY: one clear sentence, exit 1.
fail() { printf 'error: %s\n' "$*" >&2; exit 1; }

# at_exit COMMAND: done at the end however that comes, the last one first.
at_exit() {
    exit_steps="$1; ${exit_steps:-}"
    trap "$exit_steps" EXIT
}

# limited SECONDS COMMAND...: ends the command, by its process id, when it takes longer; that is 124, or 137 when it would
# not end.
limited() { timeout --foreground --kill-after=10 "$@"; }

# in_group COMMAND...: beside this script, as a process group of its own; its id is in $!. What still runs at the end is
# ended by end_groups.
in_group() {
    set -m
    "$@" &
    set +m
}
end_groups() {
    local group
    for group in $(jobs -p); do kill -- "-$group" 2>/dev/null || true; done
}

# grouped TEXT: with commas in its long numbers.
grouped() { sed -E ':a; s/\b([0-9]+)([0-9]{3})\b/\1,\2/; ta' <<<"$1"; }

# hold_lock FILE WHAT: this shell's until its end; waits while another run has it.
hold_lock() {
    { mkdir -p "$(dirname "$1")" && exec 9>"$1"; } 2>/dev/null || fail "$1 cannot be written; is its folder yours?"
    flock -n 9 || { say "another run is $2; waiting for it"; flock 9; }
}

# quietly LOG COMMAND...: runs the command with its output in LOG.
quietly() {
    local log=$1; shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1
}

# logged STEP LOG COMMAND...: the same; a failure names the step and the log.
logged() {
    local step=$1 log=$2; shift 2
    quietly "$log" "$@" || { tail -n 15 "$log" >&2; fail "$step failed; the whole output is in $log"; }
}

# Clang as the second compiler of what is built for Windows: the cross tool chain's headers, and no others.
clang_for_windows=(--target=x86_64-w64-windows-gnu --sysroot=/usr/x86_64-w64-mingw32 -nostdinc++ -nostdlibinc
    -isystem/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++
    -isystem/usr/lib/gcc/x86_64-w64-mingw32/12-posix/include/c++/x86_64-w64-mingw32
    -isystem/usr/x86_64-w64-mingw32/include)
