#!/usr/bin/env bash
# Configures and builds one variant of the project.
#   scripts/build.sh [BUILD_DIR] [SANITIZER] [CMAKE_ARGS...]
#   SANITIZER: "", address, thread
# PALM_BUILD_TARGET=NAME builds that target (and what it needs) alone.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$root/build}
sanitize=${2:-}
shift $(( $# > 2 ? 2 : $# ))
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S "$root" -B "$dir" -DPALM_SANITIZE="$sanitize" "$@" >/dev/null
cmake --build "$dir" -j "$jobs" ${PALM_BUILD_TARGET:+--target "$PALM_BUILD_TARGET"}
