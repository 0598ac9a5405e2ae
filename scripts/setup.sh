#!/usr/bin/env bash
# Installs everything the build, the tests and the tools need, from Debian's
# packages only. Run as root on Debian 12. Safe to run again.
set -euo pipefail
if [ "$(id -u)" -ne 0 ]; then
  echo "setup.sh: run as root (it installs Debian packages)" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends \
  build-essential cmake g++ make git ca-certificates \
  libboost-thread-dev libboost-system-dev \
  default-jdk-headless \
  googletest libgtest-dev libbenchmark-dev \
  libstb-dev libcli11-dev \
  liblapacke-dev \
  coreutils python3 pkg-config dpkg-dev file \
  python3-dev pybind11-dev python3-numpy python3-matplotlib python3-pil python3-tqdm \
  python3-pytest python3-distributed \
  clang libclang-rt-14-dev valgrind
