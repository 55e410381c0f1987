#!/usr/bin/env bash
# Builds the daemon as one static program with musl, for boards without a C library of their own, from Debian's
# source packages: the C++ runtime, then zlib, libpng, expat, freetype, fontconfig, pixman and cairo, then ours.
# Installs what is missing (Debian packages). Usage: scripts/build-static.sh amd64|arm64|armhf|armel
. "$(dirname "$0")/common.sh"

. scripts/processors.sh "${1:-}"
[ -n "$musl" ] || fail "Debian's musl is not for $processor"

sources=$PWD/build/static-sources tree=$PWD/build/static-$processor
root=$tree/root prefix=$tree/prefix logs=$tree/logs
mkdir -p "$sources" "$tree/bin" "$prefix" "$logs"

need_packages "${build_packages[@]}" "$compiler" fonts-liberation mmdebstrap dpkg-dev gcc-12-source gperf make xz-utils
[ ${#qemu[@]} -eq 0 ] || need_packages qemu-user-static

# Runs a step once; what it prints stays in its log.
step() {
    local name=$1
    shift
    [ ! -e "$tree/$name.done" ] || return 0
    say "$name ($logs/$name.log)"
    ("$@") >"$logs/$name.log" 2>&1 || { tail -n 20 "$logs/$name.log" >&2 && fail "$name does not build"; }
    touch "$tree/$name.done"
}

# Debian's sources, from the mirror that this machine's packages come from, with Debian's patches.
fetch_sources() {
    local apt=$sources/apt site package
    [ ! -e "$sources/complete" ] || return 0
    mkdir -p "$apt/lists/partial"
    # shellcheck disable=SC2016 # apt's own variable
    site=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" "Codename: $suite" | head -n 1)
    echo "deb-src $site $suite main" >"$apt/sources.list"
    local options=(-o "Dir::Etc::SourceList=$apt/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update
    cd "$sources"
    for package in zlib libpng1.6 expat freetype fontconfig pixman cairo; do
        apt-get "${options[@]}" source --only-source "$package" && continue
        # A mirror may lack the patches; the original source will do.
        tar -xf "$package"_*.orig.tar.* || return 1
    done
    tar -xf /usr/src/gcc-12/gcc-12*.tar.xz
    # What autoconf and automake made is not to be made again for Debian's patches of what it was made from.
    for package in aclocal.m4 configure config.h.in Makefile.in; do
        find . -name "$package" -exec touch {} +
        sleep 1
    done
    touch complete
}

# musl and the kernel's headers for the processor, unpacked.
fetch_musl() {
    unpack_root "$root" musl-dev,linux-libc-dev
    mkdir -p "$tree/kernel"
    ln -sfn "$root/usr/include/linux" "$root/usr/include/asm-generic" "$root/usr/include/$triplet/asm" "$tree/kernel"
}

# Debian's compiler with musl in place of its own C library. When it links, it names what a program begins and
# ends with and the libraries itself.
write_compiler() {
    local name=$1 compile="$triplet-$2-12 -static -no-pie -nostdinc $3" runtime=$4 includes="" folder
    local libraries=$root/usr/lib/$musl
    shift 4
    for folder in "$@" "$prefix/include" "$root/usr/include/$musl" "$("$triplet-gcc-12" -print-file-name=include)" \
        "$tree/kernel"; do
        includes+=" -isystem $folder"
    done
    cat >"$tree/bin/$name" <<WRAPPER
#!/bin/sh
case " \$* " in
*' -c '* | *' -S '* | *' -E '*) exec $compile "\$@"$includes ;;
esac
exec $compile -nostdlib -L$prefix/lib -L$libraries $libraries/crt1.o $libraries/crti.o \
    $("$triplet-gcc-12" -print-file-name=crtbeginT.o) "\$@"$includes -x none $runtime \
    -Wl,--start-group -lgcc -lgcc_eh -lc $tree/bin/unwinding.o -Wl,--end-group \
    $("$triplet-gcc-12" -print-file-name=crtend.o) $libraries/crtn.o
WRAPPER
    chmod +x "$tree/bin/$name"
}

write_compilers() {
    write_compiler "$musl-gcc" gcc "" ""
    write_compiler "$musl-g++" g++ -nostdinc++ "-lstdc++ -lm" "$prefix/include/c++/12" "$prefix/include/c++/12/$musl"
    # What Debian's unwinder asks glibc for. That nothing is found lets an exception, which nobody here would
    # catch, end the program as it does elsewhere.
    echo 'int _dl_find_object(void *at, void *found) { (void)at; (void)found; return -1; }' |
        "$triplet-gcc-12" -O2 -c -x c - -o "$tree/bin/unwinding.o"
}

source_of() {
    echo "$sources/$1"-[0-9]*
}

host=(--host="$musl" --build=x86_64-linux-gnu --prefix="$prefix" --disable-shared --enable-static)
export PATH=$tree/bin:$PATH CC=$musl-gcc CXX=$musl-g++ AR=$triplet-gcc-ar-12 RANLIB=$triplet-gcc-ranlib-12 NM=$triplet-gcc-nm-12
export CFLAGS="-O2 -ffunction-sections -fdata-sections" CXXFLAGS="-O2 -ffunction-sections -fdata-sections"
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig PKG_CONFIG="pkg-config --static"

# By the driver that links no C++ runtime, which is not there yet: otherwise configure finds nothing at all.
cxx_runtime() {
    mkdir -p "$tree/libstdc++" && cd "$tree/libstdc++" && export CXX=$CC
    "$(source_of gcc)/libstdc++-v3/configure" --host="$musl" --build=x86_64-linux-gnu --prefix="$prefix" \
        --disable-shared --disable-multilib --disable-nls --disable-libstdcxx-pch --disable-libstdcxx-verbose \
        --with-gxx-include-dir="$prefix/include/c++/12"
    make -j2 && make install
}

# A library by its configure script, in a folder of its own. Its default place is where it will be, and it is
# installed into the prefix from a stage, for fontconfig would go into this machine's /etc.
library() {
    local name=$1
    shift
    mkdir -p "$tree/$name" && cd "$tree/$name"
    "$(source_of "$name")/configure" "${host[@]}" "$@" && make -j2 && make install DESTDIR="$tree/stage" && unstage
}

unstage() {
    cp -a "$tree/stage$prefix/." "$prefix/"
    find "$prefix" -name '*.la' -delete
}

build_zlib() {
    mkdir -p "$tree/zlib" && cd "$tree/zlib"
    CHOST=$musl "$(source_of zlib)/configure" --static --prefix="$prefix" && make -j2 libz.a && make install
}

build_expat() {
    cmake -S "$(source_of expat)/expat" -B "$tree/expat" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_BUILD_TYPE=Release -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF \
        -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
    # Debian's patches ask for the value that configure gives this.
    sed -i 's/^#define XML_DTD$/#define XML_DTD 1/' "$tree/expat/expat_config.h"
    cmake --build "$tree/expat" && cmake --install "$tree/expat"
}

build_pixman() {
    mkdir -p "$tree/pixman" && cd "$tree/pixman"
    "$(source_of pixman)/configure" "${host[@]}" --disable-gtk --disable-libpng --disable-openmp --disable-timers
    make -j2 -C pixman && make -C pixman install && make install-pkgconfigDATA
}

build_daemon() {
    cmake -G Ninja -B "$tree/tsinsertd" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_FIND_ROOT_PATH="$prefix" \
        -DCMAKE_BUILD_TYPE=Release -DTSINSERTD_STATIC=ON -DTSINSERTD_PREVIEW=OFF
    cmake --build "$tree/tsinsertd"
}

step sources fetch_sources
step musl fetch_musl
step compilers write_compilers
step libstdc++ cxx_runtime
step zlib build_zlib
step libpng library libpng1.6
step expat build_expat
step freetype library freetype --without-harfbuzz --without-brotli --without-bzip2 --with-png --with-zlib
step fontconfig library fontconfig --disable-docs --with-expat="$prefix" --sysconfdir=/etc --localstatedir=/var \
    --with-baseconfigdir=/etc/fonts --with-default-fonts=/usr/share/fonts --with-cache-dir=/var/cache/fontconfig
step pixman build_pixman
step cairo library cairo --disable-xlib --disable-xcb --disable-ps --disable-pdf --disable-svg --disable-script \
    --disable-interpreter --disable-gobject --disable-trace --disable-symbol-lookup --enable-ft --enable-fc --enable-png
rm -f "$tree/daemon.done"
step daemon build_daemon
"$triplet-strip" -o "$tree/tsinsertd.stripped" "$tree/tsinsertd/bin/tsinsertd"

unset CC CXX AR RANLIB NM CFLAGS CXXFLAGS PKG_CONFIG_LIBDIR PKG_CONFIG
build release
sample_settings
run_in "$tree/here" shop build/release/bin/epld-emulator build/release/bin/tsinsertd "2026-11-18 14:05:09"
run_in "$tree/there" shop "$tree/tsinsertd/bin/epld-emulator" "$tree/tsinsertd/bin/tsinsertd-emulated" \
    "2026-11-18 14:05:09" "${qemu[@]}"
expect_same "$tree/here" "$tree/there" shop
say "$tree/tsinsertd.stripped: $(stat -c %s "$tree/tsinsertd.stripped") bytes, which need fonts and nothing else"
