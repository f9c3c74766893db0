#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy) over the sources: the portable core as the native build compiles it, the rest as the cross
# build does, with clang as the second compiler. Needs both builds configured (./test does it).
#   tools/tidy.sh               everything (some minutes)
#   tools/tidy.sh FILE...       these
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"

tidy() {
    local extra=("${clang_for_windows[@]/#/--extra-arg=}" --extra-arg=-Wno-unused-command-line-argument)
    if grep -q "/$1\"" build/native-asan/compile_commands.json; then clang-tidy --quiet -p build/native-asan "$1" 2>/dev/null
    else clang-tidy --quiet -p build/mingw-release "${extra[@]}" "$1" 2>/dev/null; fi
}

if [ "${1:-}" = --one ]; then tidy "$2"; exit; fi
if [ $# = 0 ]; then
    mapfile -t files < <(git ls-files {base,foundation,config,device,security,telemetry,concurrency,system,suite,app}/'*.cpp')
    set -- "${files[@]}"
fi
printf '%s\0' "$@" | xargs -0 -n 1 -P "$jobs" "$root/tools/tidy.sh" --one
