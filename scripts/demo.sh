#!/usr/bin/env bash
# Set-up, build, then the end-to-end demonstration session.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${PALM_SKIP_SETUP:-0}" != 1 ]; then bash scripts/setup.sh; fi
bash scripts/build.sh build
./build/tools/palm/palm demo "$@"
