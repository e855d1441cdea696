#!/usr/bin/env bash
# Proves the installed forms work, with the commands the README and
# docs/library.md show:
#   - `cmake --install` into a prefix; the consumer projects (tests/consumer and
#     the tour program examples/rundgang) built through find_package(Bild) with
#     CMAKE_PREFIX_PATH and through pkg-config with PKG_CONFIG_PATH;
#   - the man page;
#   - the .deb built with GNUInstallDirs' multiarch folders, installed with apt,
#     /usr/bin/bildconv run, the same consumers built against it with no paths
#     given, and `apt remove` leaving no file of it behind.
# Builds in build/ (BUILD_DIR for another) and build-deb/; needs root or sudo
# for apt. Installs pkg-config and dpkg-dev when they are missing.
set -euo pipefail
cd "$(dirname "$0")/.."
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
build=${BUILD_DIR:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
fail() { echo "package check: $*" >&2; exit 1; }

need=""
command -v pkg-config >/dev/null || need="$need pkg-config"
command -v dpkg-shlibdeps >/dev/null || need="$need dpkg-dev"
command -v groff >/dev/null || need="$need groff-base"
if [ -n "$need" ]; then
    $sudo apt-get update -qq || true
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq $need >/dev/null
fi
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || g++ -print-multiarch)
[ -n "$multiarch" ] || fail "no multiarch name for this machine"

cp examples/farbverlauf24.bmp "$work/in.bmp"

# Builds both consumers against an installed library and runs them. $1 names
# the round; the environment (CMAKE_PREFIX_PATH, PKG_CONFIG_PATH) says where.
consumers() {
    local round=$1 dir="$work/$1"
    mkdir -p "$dir"
    echo "-- $round: find_package(Bild)"
    cmake -S tests/consumer -B "$dir/consumer" >/dev/null
    cmake --build "$dir/consumer" >/dev/null
    "$dir/consumer/consumer" "$work/in.bmp" "$dir/consumer.tif"
    cmake -S examples/rundgang -B "$dir/rundgang" >/dev/null
    cmake --build "$dir/rundgang" >/dev/null
    cp "$work/in.bmp" "$dir/tour.bmp"
    "$dir/rundgang/rundgang" "$dir/tour.bmp" >/dev/null
    echo "-- $round: pkg-config"
    pkg-config --exists bild || fail "$round: pkg-config does not find bild"
    if pkg-config --cflags bild | grep -q -- '-std='; then fail "bild.pc states a language standard"; fi
    # shellcheck disable=SC2046
    g++ -std=c++17 examples/rundgang/rundgang.cpp $(pkg-config --cflags --libs bild) -o "$dir/rundgang-pc"
    "$dir/rundgang-pc" "$dir/tour.bmp" >/dev/null
    # shellcheck disable=SC2046
    g++ -std=c++20 tests/consumer/main.cpp $(pkg-config --cflags --libs bild) -o "$dir/consumer-pc"
    "$dir/consumer-pc" "$work/in.bmp" "$dir/pc.tif"
    cmp "$dir/consumer.tif" "$dir/pc.tif"
    for f in grau.tif mitte.bia zeilen.txt; do
        [ -f "$dir/tour.bmp.$f" ] || fail "$round: the tour program did not write tour.bmp.$f"
    done
}

echo "== install into a prefix"
[ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j"$(nproc)" --target bild bildconv
cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/bildconv lib/libbild.a include/bild/bildlib.h lib/cmake/Bild/BildConfig.cmake \
         lib/cmake/Bild/BildTargets.cmake lib/pkgconfig/bild.pc share/man/man1/bildconv.1; do
    test -f "$prefix/$f" || fail "missing after install: $f"
done
(export CMAKE_PREFIX_PATH="$prefix" PKG_CONFIG_PATH="$prefix/lib/pkgconfig"; consumers prefix)
cmp "$work/prefix/consumer.tif" <(cd "$work" && "$prefix/bin/bildconv" in.bmp >/dev/null && cat in.bmp.tif)

echo "== man page"
groff -ww -z -man man/bildconv.1

echo "== Debian package"
rm -f build-deb/bildconv_*.deb
cmake -S . -B build-deb -DCMAKE_INSTALL_PREFIX=/usr -DBILD_TESTS=OFF >/dev/null
cmake --build build-deb -j"$(nproc)" --target bildconv
(cd build-deb && cpack -G DEB) >/dev/null
deb=$(ls build-deb/bildconv_*.deb)
dpkg-deb -c "$deb" | awk '{print $6}' >"$work/inhalt"
for f in "./usr/bin/bildconv" "./usr/lib/$multiarch/libbild.a" "./usr/lib/$multiarch/cmake/Bild/BildConfig.cmake" \
         "./usr/lib/$multiarch/pkgconfig/bild.pc" "./usr/include/bild/bildlib.h" "./usr/share/man/man1/bildconv.1"; do
    grep -qx -- "$f" "$work/inhalt" || fail "not in the .deb: $f"
done
if grep -q '^\./usr/lib/[^/]\+$\|^\./usr/lib/cmake\|^\./usr/lib/pkgconfig' "$work/inhalt"; then
    fail "the .deb puts files into /usr/lib instead of /usr/lib/$multiarch"
fi
$sudo apt install -y ./build-deb/bildconv_*.deb >/dev/null 2>&1 || fail "apt install of $deb failed"
dpkg -L bildconv >"$work/files"
(cd "$work" && /usr/bin/bildconv in.bmp | tee "$work/line")
grep -qx "Convert in.bmp: OK" "$work/line" || fail "/usr/bin/bildconv did not convert"
cmp "$work/in.bmp.tif" "$work/prefix/pc.tif"
man -w bildconv >/dev/null 2>&1 || test -f /usr/share/man/man1/bildconv.1 || fail "no man page"
# The consumers find the package on the system's own paths; a prefix in the
# environment would hide what is being tested.
(unset CMAKE_PREFIX_PATH PKG_CONFIG_PATH; consumers deb)
grep -qx "Bild_DIR:PATH=/usr/lib/$multiarch/cmake/Bild" "$work/deb/consumer/CMakeCache.txt" ||
    fail "the consumer found another Bild than the package's"
[ "$(realpath -m "$(env -u PKG_CONFIG_PATH pkg-config --variable=libdir bild)")" = "/usr/lib/$multiarch" ] ||
    fail "pkg-config gives another libdir than /usr/lib/$multiarch"

echo "== apt remove"
$sudo apt remove -y bildconv >/dev/null 2>&1 || fail "apt remove failed"
if dpkg -s bildconv 2>/dev/null | grep -q '^Status: install'; then fail "bildconv still installed"; fi
left=0
while read -r f; do
    case "$f" in
        /. | /usr | /usr/bin | /usr/include | /usr/lib | "/usr/lib/$multiarch" | "/usr/lib/$multiarch/cmake" | \
        "/usr/lib/$multiarch/pkgconfig" | /usr/share | /usr/share/doc | /usr/share/man | /usr/share/man/man1) ;;
        *) if [ -e "$f" ] || [ -L "$f" ]; then echo "left behind: $f"; left=1; fi ;;
    esac
done <"$work/files"
[ "$left" = 0 ] || fail "apt remove left files of the package"
echo "package check: OK"
