# Building a preset, with its output kept in a log. Sourced after common.sh.

# build_preset PRESET [cmake --build's options]: one run at a time, whoever asks. "seam" is not a preset: its project is
# tests/seam.
build_preset() (
    preset=$1 directory=$root/build/$1; shift
    configure=(--preset "$preset" -S "$root")
    # Compiled as mingw-release is: the compiler's cache has most of it then.
    [ "$preset" != seam ] || configure=(-S "$root/tests/seam" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake"
        -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1")
    hold_lock "$directory.lock" "building $preset"
    export TANDOR_DEPENDENCIES=$dependencies/mingw
    # Another clone, and a folder made anew, need not compile again what was compiled here.
    if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] && command -v ccache >/dev/null; then
        export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
        export CCACHE_DIR=$cache_home/ccache CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=2G CCACHE_SLOPPINESS=pch_defines,time_macros
    fi
    [ -f "$directory/build.ninja" ] && grep -qsF "TANDOR_DEPENDENCIES:UNINITIALIZED=$TANDOR_DEPENDENCIES" "$directory/CMakeCache.txt" ||
        { say "configuring $preset"; logged "configuring $preset" "$directory.configure.log" cmake --fresh "${configure[@]}" \
            -B "$directory" -DTANDOR_DEPENDENCIES="$TANDOR_DEPENDENCIES"; }
    [ -e "$directory/lib/libtandor_base.a" ] && say "building $preset" || say "building $preset for the first time (a few minutes)"
    logged "building $preset" "$directory/build.log" cmake --build "$directory" -j "$jobs" "$@"
)
