# Running Windows programs: a private Wine prefix and a private display, both gone at the end. Sourced after common.sh.

# Where Debian's packages put them; on a fresh machine the set-up brings them after this file was read.
wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64

# What the figures of a page were measured on.
machine() {
    echo "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores; $("$wine" --version)," \
        "mingw-w64 GCC $(x86_64-w64-mingw32-g++-posix -dumpversion)"
}

start_wine() {
    [ -z "${wine_started:-}" ] || return 0
    wine_started=yes
    WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/tandor-wine.XXXXXX")
    export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d" LC_ALL=C.UTF-8
    trap stop_wine EXIT
    start_display
    say "starting a private Windows environment"
    "$wine" wineboot -i >"$WINEPREFIX/wineboot.log" 2>&1 || fail "Wine could not set up its prefix; see $WINEPREFIX/wineboot.log"
    "$wineserver" -w
    "$wineserver" -p >/dev/null 2>&1  # kept alive: a start then takes milliseconds
}

start_display() {
    local number
    Xvfb -displayfd 8 -screen 0 1280x1024x24 >"$WINEPREFIX/xvfb.log" 2>&1 8>"$WINEPREFIX/display" &
    display_pid=$!
    for _ in $(seq 100); do
        number=$(cat "$WINEPREFIX/display")
        [ -n "$number" ] && break
        kill -0 $display_pid 2>/dev/null || fail "the virtual display did not start; see $WINEPREFIX/xvfb.log"
        sleep 0.05
    done
    export DISPLAY=:$number
}

stop_wine() {
    "$wineserver" -k 2>/dev/null || true
    [ -n "${display_pid:-}" ] && kill "$display_pid" 2>/dev/null || true
    [ -n "${TANDOR_KEEP_PREFIX:-}" ] && say "kept $WINEPREFIX" || rm -rf "$WINEPREFIX"
}
