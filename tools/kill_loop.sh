#!/usr/bin/env bash
# Kills a program that makes, changes and deletes devices and reports each step, again and again, and looks after every kill
# whether the store opens and is as the reported steps left it. A new store is begun after every 20 kills, so that its creation is
# killed as well.
#   tools/kill_loop.sh [TIMES]        1000 unless told; TANDOR_SEED gives the moments
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/build.sh"
. "$root/tools/wine.sh"

times=${1:-1000}
case $times in ''|*[!0-9]*) fail "usage: tools/kill_loop.sh [TIMES]" ;; esac
"$root/tools/setup.sh"
build_preset mingw-release --target test_child
start_wine
RANDOM=${TANDOR_SEED:-$SRANDOM}
cd "$root/build/mingw-release/bin"
child() { "$wine" test_child.exe "$1" "Z:$store/devices.db" "Z:$store/report"; }

changes=0 killed=0
for ((round = 1; round <= times; ++round)); do
    if ((round % 20 == 1)); then
        store=$WINEPREFIX/store-$round
        mkdir "$store"
        : >"$store/report"
        echo "kill $round of $times"
    fi
    "$wine" test_child.exe store-changes "Z:$store/devices.db" "Z:$store/report" & pid=$!
    printf -v moment %03d $((RANDOM % 250))  # a subshell would draw from a place of its own
    sleep "0.$moment"
    if kill -9 $pid 2>/dev/null; then killed=$((killed + 1)); else fail "round $round: the program ended by itself"; fi
    { wait $pid; } 2>/dev/null || true
    look=0
    child check-changes || look=$?
    # 4 is a look that found something missing, and counts. Wine loses a new process now and then before its first instruction.
    if [ $look != 0 ] && [ $look != 4 ]; then
        say "round $round: the look ended with $look and said nothing; looking again"
        look=0
        child check-changes || look=$?
    fi
    [ $look = 0 ] || fail "round $round: the look ended with $look; the store is in $store"
    if ((round % 20 == 0 || round == times)); then changes=$((changes + $(wc -l <"$store/report"))); fi
    if [ -t 1 ]; then printf '\r%d of %d' "$round" "$times"; fi
    if compgen -G "$store/devices.damaged-*" >/dev/null; then fail "round $round: the store was set aside in $store"; fi
done
echo "$killed kills, $changes changes reported, none lost, the store opened every time"
