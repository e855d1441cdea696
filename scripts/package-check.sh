#!/usr/bin/env bash
# Proves the installed forms work: `cmake --install` into a prefix, the CMake
# package from a separate consumer project, pkg-config, the man page, and the
# .deb installed into this machine and run. Expects a configured `build/`.
set -euo pipefail
cd "$(dirname "$0")/.."
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --build build -j"$(nproc)" --target bild bildconv
cmake --install build --prefix "$prefix" >/dev/null
for f in bin/bildconv lib/libbild.a include/bild/bildlib.h lib/cmake/Bild/BildConfig.cmake \
         lib/pkgconfig/bild.pc share/man/man1/bildconv.1; do
    test -f "$prefix/$f" || { echo "missing after install: $f"; exit 1; }
done

echo "== consumer project through find_package(Bild)"
cp examples/farbverlauf24.bmp "$work/in.bmp"
cmake -S tests/consumer -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer" "$work/in.bmp" "$work/consumer.tif"

echo "== pkg-config"
command -v pkg-config >/dev/null || { $sudo apt-get install -y -qq pkg-config >/dev/null; }
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --exists bild
# shellcheck disable=SC2046
g++ tests/consumer/main.cpp -o "$work/pc" $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs bild)
"$work/pc" "$work/in.bmp" "$work/pc.tif"
cmp "$work/consumer.tif" "$work/pc.tif"

echo "== man page"
groff -ww -z -man man/bildconv.1

echo "== Debian package"
(cd build && cpack -G DEB >/dev/null)
deb=$(ls build/bildconv_*.deb | head -n 1)
$sudo dpkg -i "$deb" >/dev/null
(cd "$work" && /usr/bin/bildconv in.bmp | tee "$work/line")
grep -qx "Convert in.bmp: OK" "$work/line"
cmp "$work/in.bmp.tif" "$work/pc.tif"
echo "package check: OK"
