#!/usr/bin/env bash
# Proves that an installed palm is usable from outside, as a new user would
# take it up:
#   scripts/check_install.sh BUILD_DIR
# installs BUILD_DIR into a scratch prefix, checks the layout, compiles every
# installed header on its own, builds and runs examples/consumer with
# find_package(palm) and with pkg-config, builds examples/c_consumer (a
# project in C alone) with find_package(palm), runs the Java example from the
# installed jar alone, and checks the Debian package that CPack makes.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
work=$build/install-check
rm -rf "$work" && mkdir -p "$work"
prefix=$work/prefix

echo "-- cmake --install into $prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

for f in lib/libpalm.so lib/libpalm.so.0 lib/libpalm.so.0.1.0 \
         include/palm/service/palm_service.h include/palm/feature/user_palm_feature.h \
         include/palm/extraction/i_feature_extractor.h include/palm/matching/i_feature_match.h \
         include/palm/localisation/i_palm_crop.h include/palm/image/frame_info.h \
         lib/cmake/palm/palmConfig.cmake lib/cmake/palm/palmConfigVersion.cmake \
         lib/cmake/palm/palmTargets.cmake lib/pkgconfig/palm.pc bin/palm share/java/palm.jar \
         share/java/palm.pom; do
  [ -e "$prefix/$f" ] || { echo "missing from the install: $f"; exit 1; }
done
[ -L "$prefix/lib/libpalm.so" ] && [ -L "$prefix/lib/libpalm.so.0" ] ||
  { echo "libpalm.so and libpalm.so.0 must be links"; exit 1; }
for f in include/palm/recognition include/palm/matching/match_counter.h \
         include/palm/extraction/anigauss.h include/palm/feature/feature_block_pool.h; do
  [ ! -e "$prefix/$f" ] || { echo "private header installed: $f"; exit 1; }
done
echo "layout: ok"

# Every installed header stands on its own and on the other installed ones.
count=0
while read -r header; do
  [ -n "$header" ] || continue
  echo "#include <palm/$header>" |
    g++ -std=c++17 -Wall -Wextra -fsyntax-only -I"$prefix/include" -x c++ - ||
    { echo "installed header does not compile alone: $header"; exit 1; }
  count=$((count + 1))
done < <(cd "$prefix/include/palm" && find . -name '*.h' | sed 's|^\./||' | sort)
echo '#include <palm/service/palm_service.h>' |
  gcc -std=c99 -Wall -Wextra -fsyntax-only -I"$prefix/include" -x c - ||
  { echo "palm_service.h does not compile as C"; exit 1; }
echo "headers: $count compile on their own (palm_service.h also as C)"

echo "-- consumer with find_package(palm)"
cmake -S "$root/examples/consumer" -B "$work/consumer-cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer-cmake" >/dev/null
"$work/consumer-cmake/device_consumer" "$work/alice.txt"
"$work/consumer-cmake/server_consumer" "$work/alice.txt" | tail -n 1

echo "-- C-only consumer with find_package(palm) (project languages: C)"
cmake -S "$root/examples/c_consumer" -B "$work/consumer-c" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
grep -q '^CMAKE_CXX_COMPILER:' "$work/consumer-c/CMakeCache.txt" &&
  { echo "the C-only consumer enabled C++"; exit 1; }
cmake --build "$work/consumer-c" >/dev/null
"$work/consumer-c/server_consumer" "$work/alice.txt" | tail -n 1

echo "-- consumer with pkg-config"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" bash "$root/examples/consumer/build_with_pkg_config.sh" \
  "$work/consumer-pc"
"$work/consumer-pc/device_consumer" "$work/alice-pc.txt"
"$work/consumer-pc/server_consumer" "$work/alice-pc.txt" | tail -n 1

if [ -f "$build/java/palm_examples.jar" ] && command -v java >/dev/null; then
  echo "-- Java example from the installed jar alone (no java.library.path)"
  texts=$build/java/feature_texts
  [ -d "$texts/templates" ] || "$build/java/make_feature_texts" "$texts" 20 >/dev/null
  java -cp "$prefix/share/java/palm.jar:$build/java/palm_examples.jar" \
    IdentifyFromFolder "$texts/templates" "$texts/probes/user-007.txt" | grep "identified: user-007"
fi

if [ -d "$prefix/lib/python3/dist-packages/palm" ]; then
  echo "-- Python module from the install"
  (cd "$work" && PYTHONPATH="$prefix/lib/python3/dist-packages" /usr/bin/python3 -c \
    'import palm; t, d = palm.crypt_feature([(bytes(384), bytes(384))]); print("palm module: text of", len(t), "characters, md5", d)')
fi

echo "-- Debian package"
(cd "$build" && cpack -G DEB -B "$work/deb" >/dev/null)
deb=$(ls "$work"/deb/libpalm-dev_*.deb)
dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|' > "$work/deb-files.txt"
for f in /usr/lib/libpalm.so.0 /usr/lib/libpalm.so /usr/include/palm/service/palm_service.h \
         /usr/lib/cmake/palm/palmConfig.cmake /usr/lib/pkgconfig/palm.pc /usr/bin/palm \
         /usr/share/java/palm.jar /usr/lib/python3/dist-packages/palm/__init__.py; do
  grep -qx -- "$f" "$work/deb-files.txt" || { echo "missing from $(basename "$deb"): $f"; exit 1; }
done
if grep -q '/include/palm/recognition/' "$work/deb-files.txt"; then
  echo "private headers in the package"; exit 1
fi
depends=$(dpkg-deb -f "$deb" Depends)
for d in libboost-thread libstdc++6 libc6; do
  grep -q "$d" <<<"$depends" || { echo "package does not depend on $d: $depends"; exit 1; }
done
if grep -q 'libboost-[a-z]*-dev' <<<"$depends"; then
  echo "package asks for Boost development packages, which no installed header needs: $depends"
  exit 1
fi
echo "$(basename "$deb"): $(wc -l < "$work/deb-files.txt") entries; Depends: $depends"
echo "install check: ok"
