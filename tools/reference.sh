#!/usr/bin/env bash
# Makes the reference of the public headers in build/reference/html with Doxygen (docs/Doxyfile). Fails when Doxygen
# warns, or when a public name has no text of its own.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v doxygen >/dev/null || "$root/tools/setup.sh" doxygen
cd "$root"
hold_lock build/reference.lock "making the reference"
rm -rf build/reference
mkdir -p build/reference
TANDOR_VERSION=$(sed -n 's/^project(TandorUtil VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export TANDOR_VERSION
limited 600 doxygen docs/Doxyfile >build/reference/warnings.log 2>&1 || {
    [ $? -lt 124 ] || fail "Doxygen hung and was ended"
    sort -u build/reference/warnings.log >&2
    fail "Doxygen warns; mend the comments named above"
}

# Doxygen passes over enumerators and constructors without a text; its XML tells them. What the compiler makes, and
# destructors, may go without one.
gaps=$(awk -F '[<>]' '
    /<compoundname>/   { compound = $3 }
    /<memberdef /      { shown = /prot="(public|protected)"/; name = ""; text = 0; gone = 0 }
    /<enumvalue /      { enumerator = 1; value = ""; value_text = 0 }
    /<name>/           { if (enumerator) value = $3; else if (name == "") name = $3 }
    /<argsstring>/     { gone = /=(delete|default)/ }
    /<para>/           { if (enumerator) value_text = 1; else text = 1 }
    /<\/enumvalue>/    { enumerator = 0; if (shown && !value_text) print compound "::" value }
    /<\/memberdef>/    { if (shown && !text && !gone && name !~ /^~/) print compound "::" name }
' build/reference/xml/{class,struct,namespace}*.xml build/reference/xml/*_8h.xml | sort -u)
[ -z "$gaps" ] || fail "no text stands at these public names:"$'\n'"$gaps"
say "wrote build/reference/html/index.html"
