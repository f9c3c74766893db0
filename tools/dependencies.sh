# Cross-builds the libraries that the project calls, from Debian's source packages, into one prefix.
# Sourced by tools/setup.sh. The hash of this file names the cache, so any change here rebuilds it.

triplet=x86_64-w64-mingw32
# What is built, in this order. Each name is a function below and a Debian source package after the colon.
recipes=(fmt:fmtlib spdlog:spdlog json:nlohmann-json3 tinyxml2:tinyxml2 cli11:cli11 googletest:googletest
         benchmark:benchmark sqlite:sqlite3 openssl:openssl curl:curl)

# The machine's own package sources, with source packages switched on, in a private configuration:
# the system's stays as it is, and no mirror is ever named here.
private_apt_sources() {
    local parts=$1 file
    mkdir -p "$parts"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$file" ] || continue
        sed -n 's/^deb\(-src\)\? /deb-src /p' "$file" | sort -u >"$parts/$(basename "$file" .list).list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"$parts/$(basename "$file")"
    done
    return 0
}

apt_private() {
    apt-get -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/apt/parts" \
        -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" -o APT::Sandbox::User=root "$@"
}

prepare_sources() {
    mkdir -p "$work"/apt/{lists/partial,cache/archives/partial} "$work/src"
    private_apt_sources "$work/apt/parts"
    apt_private update
}

# A security revision may be announced before its files are there: the release's own version serves then.
fetch() {
    local package=$1 dir=$work/src/$1
    rm -rf "$dir"; mkdir -p "$dir"; cd "$dir"
    apt_private source --download-only "$package" ||
        { rm -f ./*; apt_private source --download-only "$package/$(. /etc/os-release; echo "$VERSION_CODENAME")"; }
    dpkg-source --no-check -x ./*.dsc tree
}

cross_cmake() {
    cmake -S tree -B build -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DTANDOR_DEPENDENCIES="$prefix" -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
        -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DCMAKE_CXX_STANDARD=20 \
        -DCMAKE_C_FLAGS="-ffunction-sections -fdata-sections -ffile-prefix-map=$work/src/=" \
        -DCMAKE_CXX_FLAGS="-ffunction-sections -fdata-sections -ffile-prefix-map=$work/src/=" "$@"
    cmake --build build -j "$jobs"
    cmake --install build
}

build_fmt() { cross_cmake -DFMT_TEST=OFF -DFMT_DOC=OFF; }
build_spdlog() {
    cross_cmake -DSPDLOG_FMT_EXTERNAL=ON -DSPDLOG_WCHAR_SUPPORT=ON -DSPDLOG_BUILD_EXAMPLE=OFF -DSPDLOG_BUILD_TESTS=OFF
}
build_json() { cross_cmake -DJSON_BuildTests=OFF; }
build_tinyxml2() { cross_cmake -DBUILD_TESTING=OFF -Dtinyxml2_BUILD_TESTING=OFF; }
build_cli11() { cross_cmake -DCLI11_BUILD_TESTS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_DOCS=OFF; }
build_googletest() { cross_cmake -DBUILD_GMOCK=ON -Dgtest_disable_pthreads=OFF; }
build_benchmark() { cross_cmake -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DHAVE_STD_REGEX=ON -DGIT_VERSION=1.7.1; }

# Positions are set by a call of their own: with overlapped ones Wine asks its server about every read and write.
build_sqlite() {
    (cd tree && ./configure --disable-tcl --disable-readline && make sqlite3.c)
    $triplet-gcc-posix -O2 -c tree/sqlite3.c -o sqlite3.o -ffunction-sections -fdata-sections \
        -DSQLITE_THREADSAFE=1 -DSQLITE_DQS=0 -DSQLITE_OMIT_LOAD_EXTENSION -DSQLITE_OMIT_DEPRECATED \
        -DSQLITE_OMIT_SHARED_CACHE -DSQLITE_DEFAULT_MEMSTATUS=0 -DSQLITE_WIN32_NO_OVERLAPPED
    rm -f "$prefix/lib/libsqlite3.a"
    $triplet-ar rcs "$prefix/lib/libsqlite3.a" sqlite3.o
    cp tree/sqlite3.h "$prefix/include/"
}

# Without what neither a TLS 1.2 or 1.3 client nor the digests and the cipher of the library need, and in the smaller code:
# what takes time there is written in assembler. It reads no configuration by itself, and where it would look for one lies in a
# folder that only administrators write: the prefix of this machine would be a path on C: that any user may create.
build_openssl() {
    local -a without=(no-shared no-tests no-legacy no-engine no-dso no-async no-aria no-bf no-blake2 no-camellia no-cast
        no-cmp no-cms no-comp no-ct no-dtls no-ec2m no-gost no-idea no-mdc2 no-nextprotoneg no-ocb no-psk no-rc2 no-rc4
        no-rfc3779 no-rmd160 no-scrypt no-seed no-siphash no-siv no-sm2 no-sm3 no-sm4 no-srp no-srtp no-ssl3 no-tls1
        no-tls1_1 no-ts no-whirlpool no-autoload-config)
    local administered="C:/Program Files/Common Files/SSL"
    local -a places=("OPENSSLDIR=$administered" "ENGINESDIR=$administered" "MODULESDIR=$administered")
    (cd tree && ./Configure mingw64 --cross-compile-prefix=$triplet- --prefix="$prefix" --libdir=lib \
        "${without[@]}" -Os -ffunction-sections -fdata-sections)
    make -C tree build_generated
    make -C tree -j "$jobs" "${places[@]}" libcrypto.a libssl.a
    make -C tree "${places[@]}" install_dev
}

build_curl() {
    cross_cmake -DHTTP_ONLY=ON -DCURL_USE_OPENSSL=ON -DOPENSSL_ROOT_DIR="$prefix" -DOPENSSL_USE_STATIC_LIBS=ON \
        -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DCURL_ZLIB=OFF -DUSE_LIBIDN2=OFF -DCURL_USE_LIBPSL=OFF \
        -DCURL_USE_LIBSSH2=OFF -DENABLE_MANUAL=OFF -DCURL_DISABLE_ALTSVC=ON -DCURL_DISABLE_COOKIES=ON \
        -DCURL_DISABLE_DOH=ON -DCURL_DISABLE_GETOPTIONS=ON -DCURL_DISABLE_HSTS=ON -DCURL_DISABLE_MIME=ON \
        -DCURL_DISABLE_NETRC=ON
}

keep_licences() {
    mkdir -p "$prefix/share/licences"
    cp tree/debian/copyright "$prefix/share/licences/$1.txt"
}
