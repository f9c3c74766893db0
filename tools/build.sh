# Building a preset, with its output kept in a log. Sourced after common.sh.

build_preset() {
    local preset=$1 directory=$root/build/$1; shift
    local log=$directory/build.log
    export TANDOR_DEPENDENCIES=$dependencies/mingw
    [ -f "$directory/build.ninja" ] && grep -qsF "TANDOR_DEPENDENCIES:UNINITIALIZED=$TANDOR_DEPENDENCIES" "$directory/CMakeCache.txt" ||
        { say "configuring $preset"; logged "configuring $preset" "$directory.configure.log" cmake --fresh --preset "$preset" \
            -S "$root" -B "$directory" -DTANDOR_DEPENDENCIES="$TANDOR_DEPENDENCIES"; }
    [ -e "$directory/built" ] && say "building $preset" || say "building $preset for the first time (a few minutes)"
    logged "building $preset" "$log" cmake --build "$directory" -j "$jobs" "$@"
    touch "$directory/built"
}
