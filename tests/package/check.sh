#!/usr/bin/env bash
# check.sh FOLDER: unpacks the zip into FOLDER under a name with other letters and compares it with what cmake --install
# gives, looks at what is in it, runs tandorctl from there, tries its completion in bash, compares the DLLs' exports with the
# headers, builds a project against it with each public header alone, and runs that.
. "$(dirname "${BASH_SOURCE[0]}")/../../tools/common.sh"
. "$root/tools/wine.sh"
folder=$1 build=$root/build/mingw-release
mkdir -p "$folder/Lena 手机"
(hold_lock "$build.lock" "building mingw-release"
    logged "installing" "$folder/install.log" cmake --install "$build" --prefix "$folder/installed"
    logged "packing" "$folder/pack.log" cpack --config "$build/CPackConfig.cmake" -B "$folder/zip")
(cd "$folder/Lena 手机" && logged "unpacking" "$folder/unpack.log" cmake -E tar xf "$folder"/zip/TandorUtil-*.zip)
package=$(echo "$folder/Lena 手机"/TandorUtil-*)
diff -rq "$folder/installed" "$package" || fail "cmake --install and the zip differ"

for product in TandorUtil.dll PeloraSuite.dll tandorctl.exe; do
    x86_64-w64-mingw32-objdump -h "$package/bin/$product" >"$folder/sections"
    grep -q gnu_debuglink "$folder/sections" && ! grep -q debug_info "$folder/sections" || fail "$product is not stripped, or has no link to its symbols"
    x86_64-w64-mingw32-nm "$package/symbols/$product.debug" >"$folder/symbols"
    [ "$(wc -l <"$folder/symbols")" -gt 1000 ] || fail "the symbols of $product are not those of the whole program"
    ! grep -aqF -e "$root/" -e "$dependencies" "$package/bin/$product" || fail "$product names folders of the machine that built it"
done
[ "$(stat -c %s "$package/bin/TandorUtil.dll")" -le 4600000 ] || fail "TandorUtil.dll is larger than 4.6 MB"
for part in fmt spdlog json tinyxml2 cli11 sqlite openssl curl gcc-runtime mingw-runtime; do
    grep -q "\"$part\", \"version\": \"[0-9]" "$package/share/dependencies.json" || fail "$part is not listed in dependencies.json"
done
for licence in fmt spdlog json tinyxml2 cli11 sqlite openssl curl gcc-runtime mingw-runtime GPL-3 Apache-2.0; do
    [ -s "$package/share/licences/$licence.txt" ] || fail "the licence of $licence is not in the package"
done
"$root/tests/package/exports.sh" "$package"
(cd "$package/bin" && logged "running tandorctl's tour from the package" "$folder/tour.log" limited 300 "$wine" tandorctl.exe tour)
"$root/tools/examples.sh" "$package/bin" || fail "what README.md or a page of docs shows is not so; tools/examples.sh --renew writes what is"
(cd "$package/bin" && limited 60 "$wine" tandorctl.exe completion bash >"$folder/completion" 2>"$folder/completion.log")
completed() {
    bash --norc -c '. "$0"; COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)); _tandorctl; echo "${COMPREPLY[*]}"' "$folder/completion" "$@"
}
[ "$(completed tandorctl dev)" = device ] && [ "$(completed tandorctl --json outbox limit --flush a)" = always ] &&
    [ "$(completed tandorctl hash file --ch)" = --check ] && [ "$(completed tandorctl seal --key se)" = "" ] ||
    fail "the completion of tandorctl in bash gives other words than it should"

# configure BUILD OPTION...
configure() {
    local into=$1; shift
    cmake -S "$root/tests/package" -B "$folder/$into" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DCMAKE_PREFIX_PATH="$package" -DCMAKE_FIND_ROOT_PATH="/usr/x86_64-w64-mingw32;$package" "$@"
}
for version in 1.7 2.0 0.9; do
    ! quietly "$folder/refused.log" configure "refused-$version" -DTANDOR_WANTED=$version &&
        grep -q "requested version" "$folder/refused.log" || fail "a project that wants version $version gets this one"
done
logged "configuring the consumer" "$folder/configure.log" configure build
logged "building the consumer" "$folder/build.log" cmake --build "$folder/build"
for header in "$package"/include/{tandor,pelora}/*.h; do
    name=$(basename "$(dirname "$header")")/$(basename "$header")
    echo "#include <$name>" >"$folder/alone.cpp"
    logged "compiling $name alone" "$folder/header.log" x86_64-w64-mingw32-g++-posix -std=c++20 -pedantic-errors -Wall \
        -Wextra -Werror -fsyntax-only -I "$package/include" "$folder/alone.cpp"
done
cp "$folder/build/consumer.exe" "$package/bin/"
(cd "$package/bin" && logged "running the consumer" "$folder/run.log" limited 60 "$wine" consumer.exe)
grep -q "consumer works" "$folder/run.log"
