#!/bin/sh
# example_host_test.sh CMAKE BUILD SOURCE: installs the build into a folder of its own, builds the example host against
# that, and scans with it and with the installed command line.
set -eu
cmake=$1 build=$2 source=$3
flags=${QUILLBAY_TEST_FLAGS:-}
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
export HOME="$root" XDG_CONFIG_HOME="$root/config" XDG_STATE_HOME="$root/state" XDG_RUNTIME_DIR="$root"
unset QUILLBAY_FORMATS QUILLBAY_LIBEXEC || true

"$cmake" --install "$build" --prefix "$root/first" >"$root/install.log" || { cat "$root/install.log"; exit 1; }
mv "$root/first" "$root/moved" # nothing may depend on where it was installed

"$cmake" -S "$source/docs/example-host" -B "$root/build" -DCMAKE_PREFIX_PATH="$root/moved" -DCMAKE_CXX_FLAGS="$flags" \
  >"$root/configure.log" || { cat "$root/configure.log"; exit 1; }
"$cmake" --build "$root/build"
"$root/build/example-host" "$root/by-cmake.tif"
test -s "$root/by-cmake.tif"
"$root/build/example-host" --bar "$root/by-bar.tif"
test -s "$root/by-bar.tif"

"$root/build/example-host" --measure 10 10 40 50 | grep -x "50[.,]00 mm"

pc=$(find "$root/moved" -name quillbay.pc)
lib=$(dirname "$(dirname "$pc")")
# shellcheck disable=SC2046,SC2086
g++ -fPIC $flags "$source/docs/example-host/main.cpp" -o "$root/by-hand" \
  $(PKG_CONFIG_PATH=$(dirname "$pc") pkg-config --cflags --libs quillbay)
LD_LIBRARY_PATH="$lib" "$root/by-hand" "$root/by-pkg-config.tif"
test -s "$root/by-pkg-config.tif"

"$root/moved/bin/quillbay-scan" -d sim:size=100x80 -r 50 -o "$root/installed.tif"
"$root/moved/bin/quillbay-scan" -L >"$root/devices"
grep -q "device .sim:" "$root/devices"
