#!/usr/bin/env bash
# Proves the tests: makes the mistakes that tests/planted_faults.tsv lists, one at a time, in a copy of the tree under
# build/planted, and runs the tests that ought to notice each. A fault is caught when a test fails, crashes or hangs.
#   tools/plant.sh                 all of them (an hour)
#   tools/plant.sh PATTERN...      those whose name or family matches one of the shell patterns; also native and windows
# The table's columns, with a tab between: name, family, file, text (it occurs once in the file), replacement, where
# (native or windows), the tests as GoogleTest's filter has them.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/build.sh"
. "$root/tools/wine.sh"

scratch=$root/build/planted
kept=$scratch.log
caught=0 slipped=0 wrong=0

# Whether a fault of this name, family and place is asked for.
asked() {
    local pattern word
    [ ${#patterns[@]} -gt 0 ] || return 0
    for pattern in "${patterns[@]}"; do
        for word in "$@"; do [[ $word != $pattern ]] || return 0; done
    done
    return 1
}

# The rows that are asked for go to rows; each has to be whole, and its text once in its file.
read_rows() {
    local name family file text replacement where filter more content rest
    while IFS=$'\x1f' read -r name family file text replacement where filter more; do
        asked "$name" "$family" "$where" || continue
        [ -n "$filter" ] && [ -z "$more" ] || fail "the row '$name' has not seven columns"
        [ "$where" = native ] || [ "$where" = windows ] || fail "the row '$name' is for '$where'"
        [ -f "$root/$file" ] || fail "the row '$name': there is no $file"
        content=$(<"$root/$file")
        rest=${content//"$text"/}
        [ $((${#content} - ${#rest})) = ${#text} ] || fail "the row '$name': its text is not once in $file: $text"
        rows+=("$name"$'\x1f'"$file"$'\x1f'"$text"$'\x1f'"$replacement"$'\x1f'"$where"$'\x1f'"$filter")
    done < <(tr '\t' '\037' <"$root/tests/planted_faults.tsv")  # read takes several tabs for one
    [ ${#rows[@]} -gt 0 ] || fail "no row matches ${patterns[*]}"
}

# The copy becomes what the checkout is; what is the same already keeps its time, and is not built again.
copy_tree() {
    local file
    mkdir -p "$scratch" "$kept"
    cd "$root"
    while IFS= read -r -d '' file; do
        [ ! -f "$file" ] || cmp -s "$file" "$scratch/$file" || { mkdir -p "$(dirname "$scratch/$file")"; cp "$file" "$scratch/$file"; }
    done < <(git ls-files -z --cached --others --exclude-standard)
    cd "$scratch"
    while IFS= read -r -d '' file; do
        [ -f "$root/$file" ] || rm "$file"
    done < <(find . -path ./build -prune -o -type f -print0)
}

# build WHERE: the tests of the copy.
build() (
    root=$scratch
    case $1 in
        native) build_preset native-quick --target core_tests ;;
        windows) build_preset mingw-release --target windows_tests ;;
    esac >"$kept/build" 2>&1
)

# A fault may leave anything behind: each run begins with a registry, a common directory and programs as they were.
renew_wine() {
    if [ -z "${wine_started:-}" ]; then start_wine >/dev/null 9>&-; return; fi
    "$wineserver" -k 2>/dev/null || true
    "$wineserver" -w
    local template part
    template=$cache_home/windows-$("$wine" --version | tr -cd 'A-Za-z0-9.-')
    for part in system.reg user.reg userdef.reg drive_c/ProgramData drive_c/users; do
        rm -rf "${WINEPREFIX:?}/$part"
        cp -a "$template/$part" "$WINEPREFIX/$part"
    done
    "$wineserver" -p >/dev/null 2>&1 9>&-
}

run_windows() {
    renew_wine
    rm -rf "$scratch/build/run"
    cp -al "$scratch/build/mingw-release/bin" "$scratch/build/run"
    (cd "$scratch/build/run" && limited "$2" "$wine" windows_tests.exe --gtest_brief=1 --gtest_filter="$1" 9>&-)
}

# run WHERE FILTER LOG SECONDS: fails when a test does.
run() {
    case $1 in
        native) limited "$4" "$scratch/build/native-quick/bin/core_tests" --gtest_brief=1 --gtest_filter="$2" ;;
        windows) run_windows "$2" "$4" ;;
    esac >"$3" 2>&1 </dev/null
}

# Without a fault the tests have to pass, or nothing would be proved by their failing.
prove_sound() {
    local row name file text replacement where filter
    local -A filters=()
    for row in "${rows[@]}"; do
        IFS=$'\x1f' read -r name file text replacement where filter <<<"$row"
        filters[$where]+=$filter:
    done
    for where in "${!filters[@]}"; do
        say "building $where, without a fault"
        build "$where" || { tail -n 20 "$kept/build"; fail "the copy does not build"; }
        run "$where" "${filters[$where]%:}" "$kept/sound-$where" 900 ||
            { tail -n 20 "$kept/sound-$where"; fail "$where: the tests do not pass without a fault"; }
    done
}

# The copy's file with the one change, and afterwards as it was; its time says both times that it is to be built.
plant() {
    local content
    content=$(<"$root/$1")
    printf '%s\n' "${content/"$2"/"$3"}" >"$scratch/$1"
}
restore() { cp "$root/$1" "$scratch/$1"; }

try() {
    local name=$1 file=$2 text=$3 replacement=$4 where=$5 filter=$6 status=0 verdict which
    plant "$file" "$text" "$replacement"
    if ! build "$where"; then
        cp "$kept/build" "$kept/$name"
        verdict='DOES NOT BUILD' wrong=$((wrong + 1))
    else
        run "$where" "$filter" "$kept/$name" 120 || status=$?
        which=$(sed -n 's/^\[  FAILED  \] \([^ ,]*\).*/\1/p' "$kept/$name" | sed -n 1p)
        case $status in
            0) verdict=SLIPPED slipped=$((slipped + 1)) ;;
            124|137) verdict="caught, hung" caught=$((caught + 1)) ;;
            *) verdict="caught by ${which:-the end of the program ($status)}" caught=$((caught + 1)) ;;
        esac
    fi
    restore "$file"
    printf '%-36s %s\n' "$name" "$verdict"
}

patterns=("$@") rows=()
case ${1:-} in -h|--help) sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
read_rows
"$root/tools/setup.sh"
hold_lock "$scratch.lock" "planting faults"
copy_tree
prove_sound
for row in "${rows[@]}"; do
    IFS=$'\x1f' read -ra fields <<<"$row"
    try "${fields[@]}"
done
echo "$caught caught, $slipped slipped$([ $wrong = 0 ] || echo ", $wrong do not build")"
[ $((slipped + wrong)) = 0 ]
