#!/usr/bin/env bash
# check.sh FOLDER: installs the package into FOLDER, builds a project against it with each public header alone, and runs it.
. "$(dirname "${BASH_SOURCE[0]}")/../../tools/common.sh"
. "$root/tools/wine.sh"
folder=$1
mkdir -p "$folder"
logged "installing the package" "$folder/install.log" cmake --install "$root/build/mingw-release" --prefix "$folder/installed"
logged "configuring the consumer" "$folder/configure.log" cmake -S "$root/tests/package" -B "$folder/build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_PREFIX_PATH="$folder/installed" \
    -DCMAKE_FIND_ROOT_PATH="/usr/x86_64-w64-mingw32;$folder/installed"
logged "building the consumer" "$folder/build.log" cmake --build "$folder/build"
for header in "$folder"/installed/include/{tandor,pelora}/*.h; do
    name=$(basename "$(dirname "$header")")/$(basename "$header")
    echo "#include <$name>" >"$folder/alone.cpp"
    logged "compiling $name alone" "$folder/header.log" x86_64-w64-mingw32-g++-posix -std=c++20 -pedantic-errors -Wall \
        -Wextra -Werror -fsyntax-only -I "$folder/installed/include" "$folder/alone.cpp"
done
cp "$folder/build/consumer.exe" "$folder/installed/bin/"
(cd "$folder/installed/bin" && logged "running the consumer" "$folder/run.log" "$wine" consumer.exe)
grep -q "consumer works" "$folder/run.log"
