#!/usr/bin/env bash
# Makes this machine ready to build and test: packages by name, then the cross-built dependencies, once, into a
# cache outside the checkout. Safe to run again at any time, and several times at once; a second run does nothing.
#   tools/setup.sh [PACKAGE...]      these packages besides
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/dependencies.sh"

packages=(
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64        # the cross tool chain
    wine64 wine xvfb xauth                                       # running what it built
    cmake ninja-build make git ccache                            # building
    clang clang-format clang-tidy libclang-rt-14-dev llvm lld    # the native sanitizer build, the fuzzers, the checks
    g++ libgtest-dev libgmock-dev libbenchmark-dev libfmt-dev libspdlog-dev nlohmann-json3-dev libtinyxml2-dev
    libboost-dev                                                 # a benchmark compares with its thread pool
    libssl-dev                                                   # the native build's libraries
    dpkg-dev perl tcl python3-minimal ca-certificates            # what the dependencies' build needs
)

check_system() {
    [ -r /etc/os-release ] && . /etc/os-release
    [ "${ID:-}" = debian ] && [ "${VERSION_ID:-}" = 12 ] && [ "$(uname -m)" = x86_64 ] ||
        fail "this set-up is for Debian 12 on x86-64 and this is ${PRETTY_NAME:-another system} on $(uname -m); see docs/platform.md for building elsewhere"
}

find_missing() {
    mapfile -t missing < <(comm -23 <(printf '%s\n' "${packages[@]}" | sort -u) \
        <(dpkg-query -W -f '${Package} ${Status}\n' "${packages[@]}" 2>/dev/null | sed -n 's/ install ok installed$//p' | sort -u))
    [ ${#missing[@]} != 0 ]
}

install_packages() {
    find_missing || return 0
    local -a as_root=(env)
    [ "$(id -u)" = 0 ] || as_root=(sudo)
    command -v "${as_root[0]}" >/dev/null ||
        fail "packages are missing and this is neither root nor a machine with sudo; as root run: apt-get install ${missing[*]}"
    "${as_root[@]}" true ||
        fail "packages are missing and sudo does not let you install them; as root run: apt-get install ${missing[*]}"
    hold_lock "$cache_home/lock" "setting this machine up"
    find_missing || return 0
    say "set-up 1/2: installing ${#missing[@]} packages: ${missing[*]}"
    local log=$cache_home/log/apt-install.log lists=fetched cause
    quietly "$cache_home/log/apt-update.log" "${as_root[@]}" apt-get -o APT::Update::Error-Mode=any update 9>&- || lists=old
    quietly "$log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y \
        --no-install-recommends "${missing[@]}" 9>&- && return
    cause=$(sed -n 's/^E: //p' "$log" | head -n 1)
    if grep -q 'dpkg was interrupted' "$log"; then fail "an earlier installation was interrupted; as root run: dpkg --configure -a"; fi
    [ $lists = fetched ] || fail "the package lists could not be fetched, so packages are missing (${missing[*]}); is there a network? See $cache_home/log/apt-update.log"
    fail "the packages ${missing[*]} could not be installed${cause:+: $cause}; the whole output is in $log"
}

build_one() {
    local name=${1%%:*} package=${1##*:}
    touch "$work/fetching"
    fetch "$package"
    rm "$work/fetching"
    cd "$work/src/$package"
    "build_$name"
    keep_licences "$name"
}
# A recipe stops at its first failing line; only a shell of its own keeps that rule inside a condition.
if [ "${1:-}" = --recipe ]; then
    prefix=$dependencies/mingw work=$dependencies/work
    case $2 in sources) prepare_sources; compgen -G "$work/apt/lists/*_Sources*" ;; *) build_one "$2" ;; esac
    exit
fi

build_dependencies() {
    [ -f "$dependencies/complete" ] && return
    hold_lock "$cache_home/lock" "setting this machine up"
    [ -f "$dependencies/complete" ] && return
    prefix=$dependencies/mingw work=$dependencies/work
    mkdir -p "$prefix"/{include,lib} "$work" "$dependencies/done"
    say "set-up 2/2: building ${#recipes[@]} libraries for Windows, once, into $dependencies (about 6 minutes)"
    quietly "$dependencies/log/sources.log" "$0" --recipe sources ||
        fail "the lists of source packages could not be fetched; is there a network? See $dependencies/log/sources.log"
    local recipe name number=0 began=$SECONDS
    for recipe in "${recipes[@]}"; do
        number=$((number + 1)) name=${recipe%%:*}
        [ -f "$dependencies/done/$name" ] && continue
        say "  $number/${#recipes[@]} $name (after $((SECONDS - began)) s)"
        quietly "$dependencies/log/$name.log" "$0" --recipe "$recipe" || {
            [ ! -e "$work/fetching" ] || fail "the source of $name could not be fetched; is there a network? See $dependencies/log/$name.log"
            fail "building $name failed; the whole output is in $dependencies/log/$name.log, and a next run goes on there"
        }
        touch "$dependencies/done/$name"
    done
    rm -rf "$work"
    touch "$dependencies/complete"
    say "  dependencies ready after $((SECONDS - began)) s"
}

packages+=("$@")
check_system
install_packages
build_dependencies
