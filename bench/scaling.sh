#!/bin/sh
# Worker-count scaling of the parallel identification of 100,000 users of
# 25 cells: runs BM_IdentifyWorkers of bench_identify with each count and
# prints time, speed-up and parallel efficiency against 1 and 2 workers.
#
#   bench/scaling.sh [BUILD_DIR] [COUNTS]
#   bench/scaling.sh build 1,2,4,8,16
#
# Build first: cmake --build BUILD_DIR --target bench_identify. COUNTS
# defaults to 1, 2, 4, ... up to the number of processors. Each count is run
# five times and the median taken.
set -eu
build=${1:-build}
bin=$build/bench/bench_identify
if [ ! -x "$bin" ]; then
    echo "no $bin: cmake --build $build --target bench_identify" >&2
    exit 1
fi
cpus=$(nproc)
if [ $# -ge 2 ]; then
    counts=$2
else
    counts=1
    n=2
    while [ "$n" -le "$cpus" ]; do
        counts="$counts,$n"
        n=$((n * 2))
    done
    case ",$counts," in *",$cpus,"*) ;; *) counts="$counts,$cpus" ;; esac
fi

echo "processors: $cpus ($(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //'))"
echo "worker counts: $counts"
PALM_BENCH_WORKER_COUNTS=$counts "$bin" --benchmark_filter='^BM_IdentifyWorkers' \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_format=csv 2>/dev/null |
    awk -F, '
        $1 ~ /_median"?$/ {
            name = $1
            sub(/.*workers:/, "", name)
            sub(/\/.*/, "", name)
            w = name + 0
            ms = $3 + 0
            if ($5 ~ /us/) ms /= 1000
            if ($5 ~ /ns/) ms /= 1000000
            if ($5 ~ /^"?s"?$/) ms *= 1000
            order[++n] = w
            time[w] = ms
        }
        END {
            if (n == 0) { print "no results"; exit 1 }
            printf "%8s %10s %9s %13s %13s\n", "workers", "ms", "speed-up", "eff. from 1", "eff. from 2"
            for (i = 1; i <= n; i++) {
                w = order[i]
                s1 = (1 in time) ? time[1] / time[w] : 0
                e1 = (1 in time) ? sprintf("%.0f %%", 100 * s1 / w) : "-"
                e2 = (2 in time && w >= 2) ? sprintf("%.0f %%", 100 * (time[2] / time[w]) / (w / 2)) : "-"
                printf "%8d %10.2f %9s %13s %13s\n", w, time[w], (1 in time) ? sprintf("%.2f", s1) : "-", e1, e2
            }
        }'
