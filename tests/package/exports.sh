#!/usr/bin/env bash
# exports.sh PACKAGE: the DLLs of the unpacked package export what its headers declare, and nothing else. Clang says what they
# declare; interface functions that somebody else implements, deleted ones and those that the compiler makes are not exported.
. "$(dirname "${BASH_SOURCE[0]}")/../../tools/common.sh"
package=$1
folder=$(mktemp -d "${TMPDIR:-/tmp}/tandor-exports.XXXXXX")
at_exit 'rm -rf "$folder"'

# One name for all forms of a constructor or destructor; a class's tables come with it.
one_name() { grep '^_Z' | grep -v '^_ZT[VIS]' | sed -E 's/C[123]E/C1E/; s/D[012]Ev/D1Ev/' | sort -u; }

(cd "$package/include" && printf '#include <%s>\n' {tandor,pelora}/*.h) >"$folder/all.cpp"
limited 300 clang++ "${clang_for_windows[@]}" -std=c++20 -I "$package/include" -fsyntax-only -Xclang -ast-dump=json "$folder/all.cpp" |
    LC_ALL=C grep -E '^ *"(id|mangledName|pure|explicitlyDeleted|isImplicit)": |"kind": "DLLImportAttr"' |
    LC_ALL=C awk '
        { match($0, /^ */); depth = RLENGTH }
        /"id": /            { name[depth] = ""; left_out[depth] = 0; next }
        /"mangledName": /   { split($0, part, "\""); name[depth] = part[4]; next }
        /"kind": /          { if (name[depth - 4] != "" && !left_out[depth - 4]) print name[depth - 4]; next }
        /: true/            { left_out[depth] = 1 }' | one_name >"$folder/declared"
for dll in TandorUtil PeloraSuite; do
    x86_64-w64-mingw32-objdump -p "$package/bin/$dll.dll" |
        awk '/^\[Ordinal\/Name Pointer\]/ { on = 1; next } NF == 0 { on = 0 } on { print $NF }'
done | tee "$folder/all" | one_name >"$folder/exported"

[ "$(wc -l <"$folder/exported")" -gt 300 ] || fail "the DLLs export next to nothing"
! grep -v '^_Z' "$folder/all" || fail "the names above are exported, and are not C++"
difference=$(comm -13 "$folder/declared" "$folder/exported" | c++filt)
[ -z "$difference" ] || fail "exported, but declared by no header:"$'\n'"$difference"
difference=$(comm -23 "$folder/declared" "$folder/exported" | c++filt)
[ -z "$difference" ] || fail "declared by a header, but not exported:"$'\n'"$difference"
