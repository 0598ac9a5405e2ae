#!/usr/bin/env bash
# Builds the two consumers with pkg-config alone, against an installed palm:
#   PKG_CONFIG_PATH=PREFIX/lib/pkgconfig bash build_with_pkg_config.sh OUTDIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=${1:?usage: build_with_pkg_config.sh OUTDIR}
mkdir -p "$out"
libdir=$(pkg-config --variable=libdir palm)
cc -std=c99 -Wall -Wextra -o "$out/server_consumer" "$here/server_consumer.c" \
  $(pkg-config --cflags --libs palm) -Wl,-rpath,"$libdir"
c++ -std=c++17 -Wall -Wextra -o "$out/device_consumer" "$here/device_consumer.cpp" \
  $(pkg-config --cflags --libs palm) -Wl,-rpath,"$libdir"
