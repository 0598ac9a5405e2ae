#!/usr/bin/env bash
# Builds the library, the palm tool and the test programs for another
# processor with Debian's cross compiler, and with --test runs every test
# program under user-mode emulation, compares the palm tool's results with
# those of the native build byte for byte, and makes the arm64 Debian
# package.
#   scripts/cross.sh aarch64 [--test]
# Installs what it needs from Debian first (as root, once): the cross
# compiler, the arm64 multiarch development packages and qemu-user. The
# library carries its JNI natives (built against the build machine's
# jni.h); the Python module, the Java classes and the benchmarks are left
# out of the cross build, the native build has them.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
arch=${1:-}
run_tests=0
[ "${2:-}" = --test ] && run_tests=1
case "$arch" in
  aarch64) debian_arch=arm64 ;;
  *) echo "usage: scripts/cross.sh aarch64 [--test]" >&2; exit 2 ;;
esac

packages=(crossbuild-essential-$debian_arch qemu-user cmake ccache dpkg-dev file libcli11-dev googletest
          default-jdk-headless python3 build-essential libboost-thread-dev libboost-system-dev libstb-dev
          libboost-thread-dev:$debian_arch libboost-system-dev:$debian_arch
          libgtest-dev:$debian_arch libgmock-dev:$debian_arch libstb-dev:$debian_arch
          liblapacke-dev:$debian_arch)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "cross.sh: run as root to install: ${missing[*]}" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  dpkg --print-foreign-architectures | grep -qx "$debian_arch" || dpkg --add-architecture "$debian_arch"
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

dir=$root/build-$arch
jobs=$(nproc 2>/dev/null || echo 2)
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
start=$(date +%s)
cmake -S "$root" -B "$dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-$arch.cmake" \
  -DPALM_BUILD_BENCH=OFF -DPALM_BUILD_PYTHON=OFF -DPALM_BUILD_JAVA=ON "${launcher[@]}" >/dev/null
cmake --build "$dir" -j "$jobs"
echo "cross build ($arch): $(( $(date +%s) - start )) s"
file -b "$dir/tools/palm/palm" | cut -d, -f1-2

if [ $run_tests = 1 ]; then
  start=$(date +%s)
  # Every program runs; the heaviest random cases run fewer rounds there.
  (cd "$dir" && ctest --output-on-failure -j "$jobs")
  echo "tests under qemu-$arch: $(( $(date +%s) - start )) s"

  # The same inputs through the native tool and the emulated one.
  native=${PALM_NATIVE_TOOL:-$root/build/tools/palm/palm}
  if [ ! -x "$native" ]; then
    cmake -S "$root" -B "$root/build" "${launcher[@]}" >/dev/null
    cmake --build "$root/build" -j "$jobs" --target palm_tool
    native=$root/build/tools/palm/palm
  fi
  start=$(date +%s)
  bash "$root/tests/cross/compare_tools.sh" "$native" "$dir/tests/palm-emulated" "$dir/compare"
  echo "native and $arch tool compared: $(( $(date +%s) - start )) s"
fi

(cd "$dir" && cpack -G DEB >/dev/null)
ls "$dir"/*.deb
