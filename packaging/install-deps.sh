#!/bin/sh
# Installs what is needed from Debian's packages; does nothing when all of it is there.
# usage: install-deps.sh [build | bench | fuzz]    with "build" only what building and running need, else what tests
#                                           need as well; with "bench" also the programs that measurements compare
#                                           with; with "fuzz" what building, running and fuzzing need
set -eu

build="build-essential cmake ninja-build pkg-config ca-certificates git
  qt6-base-dev qt6-base-dev-tools libgl1-mesa-dev
  libsane-dev libtiff-dev libdeflate-dev libpng-dev libjpeg-dev zlib1g-dev libzstd-dev libleptonica-dev
  liblcms2-dev libopenjp2-7-dev libqpdf-dev libpoppler-cpp-dev libcups2-dev"
run="libsane1 sane-utils libcups2 qt6-qpa-plugins fonts-dejavu-core"
check="libgtest-dev clang-format-16 clang-tidy-16 lld python3"
tests="libtiff-tools python3-tifffile python3-numpy netpbm xvfb time procps locales
  xdotool dbus-daemon at-spi2-core python3-gi
  libjpeg-turbo-progs poppler-utils qpdf libopenjp2-tools
  cups-ipp-utils cups-daemon cups-client"
bench="libvips-tools imagemagick pngquant mate-backgrounds img2pdf gdal-bin"
fuzz="clang-16 libclang-rt-16-dev"

wanted="$build $run"
case "${1:-}" in
  build) ;;
  fuzz) wanted="$wanted $fuzz" ;;
  *) wanted="$wanted $check $tests" ;;
esac
[ "${1:-}" != bench ] || wanted="$wanted $bench"

missing=""
for package in $wanted; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" != 0 ]; then
  command -v sudo >/dev/null 2>&1 || {
    echo "install-deps: these packages are missing and neither root nor sudo is there to install them:$missing" >&2
    exit 1
  }
  as_root=sudo
fi
echo "install-deps: installing$missing" >&2
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -qq
# shellcheck disable=SC2086 # one word for each package
$as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
