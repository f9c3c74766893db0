#!/usr/bin/env bash
# Compiles the product for Windows with clang as well, as far as to its warnings: what GCC says nothing about, clang may. Needs
# the cross build configured (./test does it).
#   tools/second_compiler.sh               everything
#   tools/second_compiler.sh PATTERN       the sources whose path matches the extended regular expression
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
database=$root/build/mingw-release/compile_commands.json
if [ "${1:-}" = --one ]; then
    eval "words=(${2#* })"
    cd "$root/build/mingw-release"
    limited 300 clang++ "${clang_for_windows[@]}" "${words[@]}" -o /dev/null -fsyntax-only -Wno-unused-command-line-argument
    exit
fi
[ -f "$database" ] || fail "$database is missing; ./test --only clang makes it"

# A source may stand there several times; once is enough.
commands() {
    awk -v pattern="$root/(${1:-(base|foundation|config|device|security|telemetry|concurrency|system|suite|app)/})" '
        /^  "command": / { command = substr($0, 15, length($0) - 16) }
        /^  "file": /    { file = substr($0, 12, length($0) - 12)
                           if (file ~ pattern && file ~ /\.cpp$/ && !seen[file]++) print command }' "$database" |
        sed 's/\\\(["\\]\)/\1/g'
}
commands "${1:-}" | tr '\n' '\0' | xargs -0 -r -n 1 -P "$jobs" "$root/tools/second_compiler.sh" --one
say "clang has nothing to say about $(commands "${1:-}" | wc -l) sources"
