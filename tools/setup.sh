#!/usr/bin/env bash
# Makes this machine ready to build and test: packages by name, then the cross-built dependencies, once, into a
# cache outside the checkout. Safe to run again at any time; a second run does nothing and takes no time.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
. "$root/tools/dependencies.sh"

packages=(
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64        # the cross tool chain
    wine64 wine xvfb xauth                                       # running what it built
    cmake ninja-build make git clang clang-tidy libclang-rt-14-dev llvm  # the native sanitizer build, the fuzzers, the checks
    g++ libgtest-dev libgmock-dev libbenchmark-dev libfmt-dev libspdlog-dev nlohmann-json3-dev libtinyxml2-dev
    libboost-dev                                                 # a benchmark compares with its thread pool
    libssl-dev                                                   # the native build's libraries
    doxygen                                                      # the reference of the public headers
    dpkg-dev perl tcl python3-minimal ca-certificates          # what the dependencies' build needs
)

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null; then sudo "$@"
    else fail "packages are missing and this is neither root nor a machine with sudo; as root run: apt-get install ${missing[*]}"; fi
}

check_system() {
    [ -r /etc/os-release ] && . /etc/os-release
    [ "${ID:-}" = debian ] && [ "${VERSION_ID:-}" = 12 ] && [ "$(uname -m)" = x86_64 ] ||
        fail "this set-up is for Debian 12 on x86-64 and this is ${PRETTY_NAME:-another system} on $(uname -m); see docs/platform.md for building elsewhere"
}

install_packages() {
    missing=()
    local package
    for package in "${packages[@]}"; do
        [ "$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null)" = "install ok installed" ] || missing+=("$package")
    done
    [ ${#missing[@]} = 0 ] && return
    say "set-up 1/2: installing ${#missing[@]} packages: ${missing[*]}"
    logged "reading the package lists (is there a network?)" "$cache_home/log/apt-update.log" as_root apt-get update
    logged "installing the packages ${missing[*]}" "$cache_home/log/apt-install.log" \
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

build_one() {
    local name=${1%%:*} package=${1##*:}
    fetch "$package"
    cd "$work/src/$package"
    "build_$name"
    keep_licences "$name"
}
# A recipe stops at its first failing line; only a shell of its own keeps that rule inside a condition.
if [ "${1:-}" = --recipe ]; then
    prefix=$dependencies/mingw work=$dependencies/work
    case $2 in sources) prepare_sources ;; *) build_one "$2" ;; esac
    exit
fi

build_dependencies() {
    [ -f "$dependencies/complete" ] && return
    prefix=$dependencies/mingw work=$dependencies/work
    mkdir -p "$prefix"/{include,lib} "$work" "$dependencies/done"
    exec 9>"$dependencies/lock"
    flock -n 9 || { say "set-up 2/2: another run is building the dependencies; waiting for it"; flock 9; }
    [ -f "$dependencies/complete" ] && return
    say "set-up 2/2: building ${#recipes[@]} libraries for Windows, once, into $dependencies (about 6 minutes)"
    logged "fetching the lists of source packages (is there a network?)" "$dependencies/log/sources.log" "$0" --recipe sources
    local recipe number=0 began=$SECONDS
    for recipe in "${recipes[@]}"; do
        number=$((number + 1))
        [ -f "$dependencies/done/${recipe%%:*}" ] && continue
        say "  $number/${#recipes[@]} ${recipe%%:*} (after $((SECONDS - began)) s)"
        logged "building ${recipe%%:*}" "$dependencies/log/${recipe%%:*}.log" "$0" --recipe "$recipe"
        touch "$dependencies/done/${recipe%%:*}"
    done
    rm -rf "$work"
    touch "$dependencies/complete"
    say "  dependencies ready after $((SECONDS - began)) s"
}

check_system
install_packages
build_dependencies
