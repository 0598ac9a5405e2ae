#!/usr/bin/env bash
# Runs two builds of the palm tool, typically the native one and one for
# another processor under emulation, on the same inputs and compares all
# they print and write byte for byte: codes, distances, crop fields and
# regions, enrolment records, login answers, exposure steps, calibration
# records, feature texts.
#   tests/cross/compare_tools.sh REFERENCE_TOOL OTHER_TOOL WORK_DIR
# Inputs are made once, by the reference tool and a seeded generator, so
# both tools see the same bytes. Exit status 1 on the first difference.
set -euo pipefail
ref=$1
other=$2
work=$3
rm -rf "$work"
mkdir -p "$work/in" "$work/ref" "$work/other"
in=$work/in
py=/usr/bin/python3
[ -x "$py" ] || py=python3

# ---------------------------------------------------------------- inputs
# Regions of 110 x 110: random, and structured ones where the coder's
# wrapping products, ties and borders matter.
"$py" - "$in" <<'PY'
import random, sys, math, os
out = sys.argv[1]
def pgm(name, px):
    with open(os.path.join(out, name), "wb") as f:
        f.write(b"P5\n110 110\n255\n" + bytes(px))
rng = random.Random(19)
for i in range(6):
    pgm("random%d.pgm" % i, [rng.randrange(256) for _ in range(110 * 110)])
pgm("black.pgm", [0] * 12100)
pgm("white.pgm", [255] * 12100)
pgm("mid.pgm", [128] * 12100)
pgm("checker.pgm", [255 if (x // 3 + y // 3) % 2 else 0 for y in range(110) for x in range(110)])
pgm("stripes.pgm", [int(127.5 + 127.5 * math.sin(x * 0.7 + y * 0.3)) for y in range(110) for x in range(110)])
pgm("ramp.pgm", [(x * 2 + y) % 256 for y in range(110) for x in range(110)])
pgm("lines.pgm", [0 if (x + 2 * y) % 11 < 2 else 200 for y in range(110) for x in range(110)])
pgm("extremes.pgm", [rng.choice((0, 1, 127, 128, 129, 254, 255)) for _ in range(110 * 110)])
PY

# Frame pairs of several palms and poses, a capture stream, the board.
"$ref" simulate --identity 3 "$in/pose0" >/dev/null
"$ref" simulate --identity 11 --rotation 8 --offset 12 -7 --noise 2 --noise-seed 5 "$in/pose1" >/dev/null
"$ref" simulate --identity 42 --scale 1.1 --tilt 6 -4 "$in/pose2" >/dev/null
"$ref" simulate --identity 7 --offset 200 0 "$in/pose3" >/dev/null
"$ref" simulate --stream 40 --identity 5 "$in/stream" >/dev/null
"$ref" simulate --stream 40 --identity 5 --day 3 "$in/login" >/dev/null
"$ref" simulate --stream 40 --identity 9 --hand 0 "$in/stranger" >/dev/null
"$ref" simulate --board "$in/board" >/dev/null

# ---------------------------------------------------------------- runs
# Each case runs a command line with @T@ for the tool and @O@ for the
# case's output folder, in that folder, so that paths the tool prints are
# the same on both sides; what it prints, its exit status and the files it
# writes are compared.
cases=0
run_case() {
  local name=$1 line=$2 side tool dir
  for side in ref other; do
    tool=$ref
    [ $side = other ] && tool=$other
    dir=$work/$side/$name
    mkdir -p "$dir"
    local cmd=${line//@T@/\'$tool\'}
    cmd=${cmd//@O@/.}
    set +e
    (cd "$dir" && eval "$cmd") >"$dir/stdout" 2>"$dir/stderr" </dev/null
    echo $? >"$dir/status"
    set -e
  done
  if ! diff -r "$work/ref/$name" "$work/other/$name" >"$work/$name.diff"; then
    echo "DIFFERENT: $name"
    head -n 40 "$work/$name.diff"
    exit 1
  fi
  cases=$((cases + 1))
}

for f in "$in"/*.pgm; do
  b=$(basename "$f" .pgm)
  run_case "extract_$b" "@T@ extract --hex '$f'"
  run_case "code_$b" "@T@ extract '$f' @O@/code.bin"
done
for a in random0 checker stripes lines; do
  for b in random1 ramp extremes lines; do
    run_case "match_${a}_$b" "@T@ match '$work/ref/code_$a/code.bin' '$work/ref/code_$b/code.bin'"
  done
done
for p in pose0 pose1 pose2 pose3; do
  run_case "crop_$p" "@T@ crop '$in/$p/vl.png' '$in/$p/nir.png' @O@"
  run_case "precheck_$p" "@T@ precheck '$in/$p/nir.png'"
done
run_case "crop_regions_code" "@T@ extract --hex '$work/ref/crop_pose0/roi_vl.png' && @T@ extract --hex '$work/ref/crop_pose0/roi_nir.png'"
run_case "enrol25" "@T@ enrol '$in/stream' @O@/5_1.rec"
run_case "enrol5" "@T@ enrol --count 5 '$in/stranger' @O@/9_0.rec"
mkdir -p "$work/lib"
cp "$work/ref/enrol25/5_1.rec" "$work/ref/enrol5/9_0.rec" "$work/lib/" 2>/dev/null || true
run_case "login" "@T@ login '$work/lib' '$in/login'"
run_case "login_exhaustive" "@T@ login --intensity 3 --exhaustive '$work/lib' '$in/stranger'"
run_case "match_records" "@T@ match '$work/ref/enrol25/5_1.rec' '$work/ref/enrol5/9_0.rec' --policy 2"
run_case "text" "@T@ text encode -o @O@/hand.txt '$work/ref/enrol25/5_1.rec' && @T@ text decode @O@/hand.txt @O@/back.rec"
run_case "exposure_mean" "@T@ exposure --init 128 128 '$in/stream'"
run_case "exposure_max" "@T@ exposure --init 240 300 --max '$in/login'"
run_case "calibrate" "@T@ calibrate '$in/board/nir.png' '$in/board/vl.png' @O@/device.calib"
run_case "crop_calibrated" "@T@ crop --calib '$work/ref/calibrate/device.calib' '$in/pose1/vl.png' '$in/pose1/nir.png' @O@"
run_case "lens_table" "@T@ lens table @O@/map.bin --tag device1 --calib '$work/ref/calibrate/device.calib'"
run_case "lens_map" "@T@ lens map 17 463 --camera nir --forward && @T@ lens map 600 20 --camera vl --backward"
# The synthetic camera (sim/, not the library) is left out: it renders
# through the C library's sin, cos and exp, whose last bits differ between
# processors, so its pictures do; the library's results on one picture do not.
echo "compare_tools: $cases cases, all the same"
