#!/usr/bin/env bash
# Installs everything Quindle needs to build, test and run on Debian 12 (bookworm).
# Idempotent: returns in a second or two when everything is present. Runs as root.
set -euo pipefail

die() { echo "install-deps: $*" >&2; exit 1; }

PACKAGES=(
  # toolchain
  build-essential cmake ninja-build pkg-config clang-14 libclang-rt-14-dev dpkg-dev clang-format
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # GL: Mesa llvmpipe for headless rendering, epoxy as the loader
  libgl-dev libegl-dev libgles-dev libgl1-mesa-dri libegl-mesa0 libgbm-dev libdrm-dev libepoxy-dev
  # text, archives, images, command line, map scripts
  libfreetype-dev fonts-dejavu-core libarchive-dev libpng-dev libcli11-dev lua5.1 liblua5.1-0-dev
  # a real X server and real input for end-to-end tests
  xvfb xauth xdotool x11-utils
  # what SDL3's X11 and Wayland video drivers build against
  libx11-dev libxext-dev libxrandr-dev libxcursor-dev libxfixes-dev libxi-dev libxss-dev
  libxtst-dev libxkbcommon-dev libwayland-dev wayland-protocols libdecor-0-dev
)

[ "$(id -u)" = 0 ] || die "must run as root (apt-get install needs it)"

missing=()
for pkg in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "install-deps: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq || die "apt-get update failed"
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null \
    || die "apt-get install failed for: ${missing[*]}"
fi

# SDL3 is not packaged for bookworm: build Debian's own trixie source package.
sdl3_ok() {
  local v
  v=$(PKG_CONFIG_PATH=/usr/local/lib/pkgconfig:/usr/local/lib/x86_64-linux-gnu/pkgconfig pkg-config --modversion sdl3 2>/dev/null) || return 1
  [ "$(printf '%s\n3.2.0\n' "$v" | sort -V | head -n1)" = "3.2.0" ]
}
if ! sdl3_ok; then
  work=$(mktemp -d /tmp/quindle-sdl3.XXXXXX)
  chmod 755 "$work"
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work/lists/partial" "$work/parts"
  # A private sources list: trixie is used for this one source download and never
  # becomes a binary package source of the machine.
  echo "deb-src http://deb.debian.org/debian trixie main" > "$work/trixie-src.list"
  aptopts=(-o "Dir::Etc::SourceList=$work/trixie-src.list" -o "Dir::Etc::SourceParts=$work/parts"
           -o "Dir::State::Lists=$work/lists")
  echo "install-deps: building SDL3 from Debian's libsdl3 source package"
  apt-get "${aptopts[@]}" update -qq || die "could not read the trixie source index for libsdl3"
  (cd "$work" && apt-get "${aptopts[@]}" source --download-only libsdl3 >/dev/null) \
    || die "could not download the libsdl3 source package"
  (cd "$work" && dpkg-source -x --no-check libsdl3_*.dsc src >/dev/null) || die "could not unpack libsdl3"
  cmake -S "$work/src" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr/local -DSDL_STATIC=OFF -DSDL_SHARED=ON -DSDL_TESTS=OFF \
    -DSDL_X11=ON -DSDL_WAYLAND=ON -DSDL_OFFSCREEN=ON -DSDL_OPENGL=ON -DSDL_OPENGLES=ON \
    -DSDL_AUDIO=OFF -DSDL_VULKAN=OFF >"$work/configure.log" 2>&1 \
    || { tail -20 "$work/configure.log"; die "SDL3 configure failed"; }
  cmake --build "$work/build" >"$work/build.log" 2>&1 || { tail -20 "$work/build.log"; die "SDL3 build failed"; }
  cmake --install "$work/build" >/dev/null || die "SDL3 install failed"
  ldconfig
  sdl3_ok || die "SDL3 3.2 or newer still not found after the build"
fi

[ -f /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf ] || die "DejaVu Sans font missing (fonts-dejavu-core)"
exit 0
