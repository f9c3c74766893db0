#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy) over the sources: the portable core as the native build compiles it, the rest as the cross
# build does, with clang as the second compiler. Needs both builds configured (./test does it). Options: files to look at.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
gcc=/usr/lib/gcc/x86_64-w64-mingw32/12-posix
cross=(--target=x86_64-w64-windows-gnu --sysroot=/usr/x86_64-w64-mingw32 -nostdinc++ -nostdlibinc
       -isystem$gcc/include/c++ -isystem$gcc/include/c++/x86_64-w64-mingw32 -isystem/usr/x86_64-w64-mingw32/include
       -Wno-unknown-warning-option -Wno-unused-command-line-argument)
extra=(); for flag in "${cross[@]}"; do extra+=("--extra-arg=$flag"); done
if [ $# -gt 0 ]; then files=("$@")
else mapfile -t files < <(cd "$root" && git ls-files 'base/*.cpp' 'foundation/*.cpp' 'config/*.cpp' 'device/*.cpp' 'security/*.cpp' \
    'telemetry/*.cpp' 'concurrency/*.cpp' 'system/*.cpp' 'suite/*.cpp' 'app/*.cpp')
fi
status=0
cd "$root"
for file in "${files[@]}"; do
    if grep -q "/$file\"" build/native-asan/compile_commands.json; then
        clang-tidy --quiet -p build/native-asan "$file" 2>/dev/null || status=1
    else
        clang-tidy --quiet -p build/mingw-release "${extra[@]}" "$file" 2>/dev/null || status=1
    fi
done
exit $status
