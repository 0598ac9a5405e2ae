"""Accuracy of palm print and palm vein matching on a dataset of regions.

    python3 -m palm.evaluate DATASET_DIR [--out DIR]
    python3 -m palm.evaluate --synthetic N [--captures K] [--difficulty D] [--out DIR]

A dataset holds two parallel trees of regions of interest, print/ID/NAME.EXT
and vein/ID/NAME.EXT: ID is the hand, and the same NAME under both trees is
one capture. One tree alone evaluates that light alone. Regions of another
size than 110x110 are resized by area averaging.

Every capture is coded, and every pair of captures of one light is compared
(degree DEGREE_ALL, as the server does): pairs of one ID are genuine, the
others impostors. Written to --out:

    summary.json           print, vein, sum: genuine_pairs, impostor_pairs,
                           eer (fraction), eer_threshold and distance figures;
                           policies: fmr and fnmr of each match policy's
                           decision over the print and vein distances
    pairs.csv              every pair with its distances
    det.png                DET curves of print, vein and their sum, with the
                           operating point of each policy
    histogram_print.png    genuine and impostor distances of each light
    histogram_vein.png

--synthetic N renders N synthetic palms through the device's synthetic
camera, K captures each in varied poses, and crops them: no dataset needed.
--difficulty sets how much the captures vary: easy (pose, slight noise;
genuine and impostor distances far apart), realistic (the default: skin
stretch, tilt, defocus, uneven light and noise, distances like real
near-infrared hands) or hard.
"""

import argparse
import concurrent.futures
import csv
import json
import os
import sys
import threading
import time

from . import _palm

LIGHTS = ("print", "vein")
REGION_SIDE = 110
IMAGE_EXTENSIONS = {".png", ".bmp", ".jpg", ".jpeg", ".pgm", ".ppm", ".tif", ".tiff", ".gif"}
USAGE = ("palm evaluate DATASET_DIR [--out DIR] | "
         "palm evaluate --synthetic N [--difficulty D] [--out DIR]")
DIFFICULTIES = ("easy", "realistic", "hard")
# Pairs handed to one call of match_pairs: large enough that Python's share
# is negligible, small enough for a smooth progress bar.
PAIRS_PER_TASK = 4096


class EvaluationError(Exception):
    """A dataset or an argument that cannot be evaluated; the message says why."""


class Capture:
    """One capture: its hand, its name and the region of each light it has."""

    __slots__ = ("identity", "name", "regions", "codes")

    def __init__(self, identity, name):
        self.identity = identity
        self.name = name
        self.regions = {}
        self.codes = {}

    @property
    def key(self):
        return self.identity + "/" + self.name


# ---------------------------------------------------------------- loading


def _image_files(folder):
    """(ID, NAME, path) of each image under folder/ID/, sorted."""
    found = []
    for identity in sorted(os.listdir(folder)):
        sub = os.path.join(folder, identity)
        if identity.startswith(".") or not os.path.isdir(sub):
            continue
        for file_name in sorted(os.listdir(sub)):
            stem, ext = os.path.splitext(file_name)
            if file_name.startswith(".") or ext.lower() not in IMAGE_EXTENSIONS:
                continue
            found.append((identity, stem, os.path.join(sub, file_name)))
    return found


def read_region(path):
    """A grey region as a 110x110 uint8 array, resized by area averaging."""
    import numpy
    from PIL import Image

    with Image.open(path) as image:
        grey = numpy.asarray(image.convert("L"), dtype=numpy.uint8)
    grey = numpy.ascontiguousarray(grey)
    if grey.shape != (REGION_SIDE, REGION_SIDE):
        grey = _palm.resize_area(grey, REGION_SIDE, REGION_SIDE)
    return grey


def load_dataset(root):
    """Captures of a dataset folder and the lights it holds; files are read later."""
    if not os.path.isdir(root):
        raise EvaluationError("'%s' is not a folder" % root)
    lights = [light for light in LIGHTS if os.path.isdir(os.path.join(root, light))]
    if not lights:
        raise EvaluationError("'%s' holds neither print/ nor vein/" % root)
    captures = {}
    for light in lights:
        for identity, name, path in _image_files(os.path.join(root, light)):
            capture = captures.setdefault((identity, name), Capture(identity, name))
            capture.regions[light] = path
    if not captures:
        raise EvaluationError("'%s' holds no images under print/ID/ or vein/ID/" % root)
    return [captures[k] for k in sorted(captures)], lights


def synthetic_captures(palms, captures_per_palm, pool, progress, difficulty="realistic"):
    """Captures of `palms` synthetic palms rendered by the synthetic camera
    and cropped; captures whose crop fails are left out and counted."""
    from ._palm import _sim

    def render(job):
        identity, capture = job
        vl, nir = _sim.render_frames(identity, identity * 1000 + capture, difficulty)
        located = _palm.crop(vl, nir)
        progress.update(1)
        if not located.ok:
            return None
        c = Capture("palm%04d" % identity, "capture%02d" % capture)
        c.regions = {"print": located.vl_roi, "vein": located.nir_roi}
        return c

    jobs = [(i, k) for i in range(palms) for k in range(captures_per_palm)]
    rendered = list(pool.map(render, jobs))
    kept = [c for c in rendered if c is not None]
    return kept, len(rendered) - len(kept)


# ---------------------------------------------------------------- work


def code_captures(captures, lights, pool, progress):
    """Codes every region in place; returns the (capture key, light, reason)
    of regions that could not be read, whose captures lose that light."""
    failures = []

    def code(job):
        capture, light = job
        region = capture.regions[light]
        try:
            if isinstance(region, str):
                region = read_region(region)
            capture.codes[light] = _palm.extract(region)
        except (OSError, ValueError) as e:
            failures.append((capture.key, light, str(e)))
        capture.regions[light] = None
        progress.update(1)

    jobs = [(c, light) for c in captures for light in lights if light in c.regions]
    list(pool.map(code, jobs))
    return failures


def pair_indices(count):
    """First and second index of every unordered pair of `count` items, i < j,
    in row order."""
    import numpy

    return numpy.triu_indices(count, 1)


def compare(codes, pool, progress):
    """Distances (float32) of all pairs i < j of a (N, 384) code array, in the
    order of pair_indices."""
    import numpy

    first, second = pair_indices(len(codes))
    out = numpy.empty(len(first), dtype=numpy.float32)

    def run(start):
        stop = min(start + PAIRS_PER_TASK, len(first))
        out[start:stop] = _palm.match_pairs(codes, first[start:stop], second[start:stop])
        progress.update(stop - start)

    list(pool.map(run, range(0, len(first), PAIRS_PER_TASK)))
    return out


def pair_position(i, j, count):
    """Position of pair (i, j), i < j, in the order of pair_indices(count)."""
    return i * count - i * (i + 1) // 2 + (j - i - 1)


# ---------------------------------------------------------------- measures


def error_rates(genuine, impostor):
    """Thresholds and the false match and false non-match rates at each: a
    pair is accepted when its distance is at most the threshold. The first
    point lies below every distance (nothing accepted)."""
    import numpy

    genuine = numpy.sort(numpy.asarray(genuine, dtype=numpy.float64))
    impostor = numpy.sort(numpy.asarray(impostor, dtype=numpy.float64))
    thresholds = numpy.unique(numpy.concatenate([genuine, impostor]))
    fmr = numpy.searchsorted(impostor, thresholds, side="right") / max(len(impostor), 1)
    fnmr = 1.0 - numpy.searchsorted(genuine, thresholds, side="right") / max(len(genuine), 1)
    lowest = thresholds[0] - 1.0 if len(thresholds) else 0.0
    return (numpy.concatenate([[lowest], thresholds]), numpy.concatenate([[0.0], fmr]),
            numpy.concatenate([[1.0], fnmr]))


def equal_error_rate(genuine, impostor):
    """(eer, threshold): where the false match rate meets the false non-match
    rate, interpolated linearly between the two thresholds around the
    crossing; (None, None) without genuine or impostor pairs."""
    if len(genuine) == 0 or len(impostor) == 0:
        return None, None
    thresholds, fmr, fnmr = error_rates(genuine, impostor)
    gap = fnmr - fmr  # falls from 1 to -1 as the threshold rises
    k = int((gap <= 0).argmax())
    if gap[k] == 0 or k == 0:
        return float(fmr[k]), float(thresholds[k])
    a = gap[k - 1] / (gap[k - 1] - gap[k])
    eer = fmr[k - 1] + a * (fmr[k] - fmr[k - 1])
    threshold = thresholds[k - 1] + a * (thresholds[k] - thresholds[k - 1])
    return float(eer), float(threshold)


def light_summary(distances, genuine_mask):
    genuine = distances[genuine_mask]
    impostor = distances[~genuine_mask]
    eer, threshold = equal_error_rate(genuine, impostor)

    def figure(values, f):
        return float(f(values)) if len(values) else None

    import numpy

    # Overlap: the share of each kind that lies beyond the nearest distance
    # of the other kind.
    overlap = None
    if len(genuine) and len(impostor):
        overlap = {
            "genuine_above_impostor_min": float(numpy.mean(genuine >= impostor.min())),
            "impostor_below_genuine_max": float(numpy.mean(impostor <= genuine.max())),
        }
    return {
        "genuine_pairs": int(len(genuine)),
        "impostor_pairs": int(len(impostor)),
        "eer": eer,
        "eer_threshold": threshold,
        "genuine_mean": figure(genuine, numpy.mean),
        "genuine_std": figure(genuine, numpy.std),
        "genuine_p99": figure(genuine, lambda v: numpy.percentile(v, 99)),
        "genuine_max": figure(genuine, numpy.max),
        "impostor_mean": figure(impostor, numpy.mean),
        "impostor_std": figure(impostor, numpy.std),
        "impostor_p01": figure(impostor, lambda v: numpy.percentile(v, 1)),
        "impostor_min": figure(impostor, numpy.min),
        "overlap": overlap,
    }


def policy_rates(print_d, vein_d, genuine_mask):
    """FMR and FNMR of each match policy's decision over pairs of distances."""
    rows = []
    genuine = int(genuine_mask.sum())
    impostor = int((~genuine_mask).sum())
    for policy in range(_palm.MATCH_POLICY_COUNT):
        accepted = _palm.decisions(print_d, vein_d, policy)
        false_matches = int((accepted & ~genuine_mask).sum())
        false_non_matches = int((~accepted & genuine_mask).sum())
        print_limit, vein_limit, bias = _palm.policy_limits(policy)
        rows.append({
            "policy": policy,
            "fmr": false_matches / impostor if impostor else None,
            "fnmr": false_non_matches / genuine if genuine else None,
            "false_matches": false_matches,
            "false_non_matches": false_non_matches,
            "print_limit": print_limit,
            "vein_limit": vein_limit,
            "bias": bias,
        })
    return rows


# ---------------------------------------------------------------- plots


def _probit(p):
    """The standard normal quantile of p, 0 < p < 1 (Acklam's approximation,
    relative error below 1.2e-9), element-wise."""
    import numpy

    a = [-3.969683028665376e+01, 2.209460984245205e+02, -2.759285104469687e+02,
         1.383577518672690e+02, -3.066479806614716e+01, 2.506628277459239e+00]
    b = [-5.447609879822406e+01, 1.615858368580409e+02, -1.556989798598866e+02,
         6.680131188771972e+01, -1.328068155288572e+01]
    c = [-7.784894002430293e-03, -3.223964580411365e-01, -2.400758277161838e+00,
         -2.549732539343734e+00, 4.374664141464968e+00, 2.938163982698783e+00]
    d = [7.784695709041462e-03, 3.224671290700398e-01, 2.445134137142996e+00,
         3.754408661907416e+00]
    p = numpy.clip(numpy.asarray(p, dtype=numpy.float64), 1e-12, 1 - 1e-12)
    out = numpy.empty_like(p)
    low = p < 0.02425
    high = p > 1 - 0.02425
    mid = ~(low | high)
    q = numpy.sqrt(-2 * numpy.log(p[low]))
    out[low] = ((((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
                ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1))
    q = numpy.sqrt(-2 * numpy.log(1 - p[high]))
    out[high] = -((((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
                  ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1))
    q = p[mid] - 0.5
    r = q * q
    out[mid] = ((((((a[0] * r + a[1]) * r + a[2]) * r + a[3]) * r + a[4]) * r + a[5]) * q /
                (((((b[0] * r + b[1]) * r + b[2]) * r + b[3]) * r + b[4]) * r + 1))
    return out


def _normal_cdf(x):
    import math

    import numpy

    x = numpy.asarray(x, dtype=numpy.float64)
    return numpy.vectorize(lambda v: 0.5 * math.erfc(-v / math.sqrt(2)))(x) if x.size else x


def _import_plotting():
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot  # noqa: F401


def plot_det(curves, policies, path, title):
    """DET curves (false non-match rate against false match rate on normal
    deviate scales) of each (label, genuine, impostor) in `curves`."""
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    import numpy

    floor = 1e-4
    fig, ax = plt.subplots(figsize=(6, 6), dpi=100)
    for label, genuine, impostor in curves:
        if len(genuine) == 0 or len(impostor) == 0:
            continue
        _, fmr, fnmr = error_rates(genuine, impostor)
        eer, _ = equal_error_rate(genuine, impostor)
        ax.plot(numpy.clip(fmr, floor, 0.5), numpy.clip(fnmr, floor, 0.5), drawstyle="steps-post",
                label="%s (EER %.2f%%)" % (label, 100 * eer))
    for row in policies:
        if row["fmr"] is None or row["fnmr"] is None:
            continue
        point = (max(row["fmr"], floor), max(row["fnmr"], floor))
        ax.plot(*point, marker="o", linestyle="none", markersize=4, color="black")
        ax.annotate(str(row["policy"]), point, textcoords="offset points", xytext=(4, 4),
                    fontsize=8)
    ax.set_xscale("function", functions=(_probit, _normal_cdf))
    ax.set_yscale("function", functions=(_probit, _normal_cdf))
    ticks = [1e-4, 1e-3, 1e-2, 0.05, 0.1, 0.2, 0.5]
    labels = ["0.01", "0.1", "1", "5", "10", "20", "50"]
    for axis in (ax.xaxis, ax.yaxis):
        axis.set_ticks(ticks)
        axis.set_ticklabels(labels)
    ax.set_xlim(floor, 0.5)
    ax.set_ylim(floor, 0.5)
    ax.text(0.02, 0.02, "rates of 0 are drawn at 0.01%", transform=ax.transAxes, fontsize=7,
            color="grey")
    ax.set_xlabel("false match rate (%)")
    ax.set_ylabel("false non-match rate (%)")
    ax.set_title(title)
    ax.grid(True, which="major", linewidth=0.5, alpha=0.5)
    ax.legend(loc="upper right", fontsize=8, title="dots: match policies", title_fontsize=8)
    fig.tight_layout()
    fig.savefig(path)
    plt.close(fig)


def plot_histogram(light, genuine, impostor, path):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    import numpy

    fig, ax = plt.subplots(figsize=(7, 4), dpi=100)
    bins = numpy.linspace(0.0, 0.6, 121)
    if len(impostor):
        ax.hist(impostor, bins=bins, density=True, alpha=0.6, histtype="stepfilled",
                label="impostor (%d pairs)" % len(impostor))
    if len(genuine):
        ax.hist(genuine, bins=bins, density=True, alpha=0.6, histtype="stepfilled",
                label="genuine (%d pairs)" % len(genuine))
    ax.set_xlabel("%s distance" % light)
    ax.set_ylabel("density")
    ax.set_title("%s distances" % light.capitalize())
    ax.legend(loc="upper left", fontsize=8)
    fig.tight_layout()
    fig.savefig(path)
    plt.close(fig)


# ---------------------------------------------------------------- driver


def _progress(total, description, quiet):
    from tqdm import tqdm

    return tqdm(total=total, desc=description, unit="", file=sys.stderr, disable=quiet,
                leave=False, dynamic_ncols=True)


def write_pairs_csv(path, captures, per_light, lights):
    """One row per pair of captures that share at least one light."""
    import numpy

    count = len(captures)
    first, second = pair_indices(count)
    columns = {}
    for light in lights:
        index = per_light[light]["index"]  # capture position -> position in the light, or -1
        distances = per_light[light]["distances"]
        n = per_light[light]["count"]
        a, b = index[first], index[second]
        have = (a >= 0) & (b >= 0)
        values = numpy.full(len(first), numpy.nan)
        values[have] = distances[pair_position(a[have], b[have], n)]
        columns[light] = values
    with open(path, "w", newline="") as f:
        out = csv.writer(f)
        out.writerow(["capture_a", "capture_b", "genuine"] + list(lights) +
                     (["sum"] if len(lights) == 2 else []))
        keys = [c.key for c in captures]
        ids = [c.identity for c in captures]
        for k in range(len(first)):
            i, j = first[k], second[k]
            values = [columns[light][k] for light in lights]
            if all(numpy.isnan(v) for v in values):
                continue
            row = [keys[i], keys[j], int(ids[i] == ids[j])]
            row += ["" if numpy.isnan(v) else "%.9g" % v for v in values]
            if len(lights) == 2:
                row.append("" if any(numpy.isnan(v) for v in values) else
                           "%.9g" % (float(values[0]) + float(values[1])))
            out.writerow(row)


def evaluate(captures, lights, out_dir, jobs=None, quiet=False, source="", extra=None):
    """Codes and compares `captures`, writes the outputs to `out_dir` and
    returns the summary."""
    import numpy

    started = time.monotonic()
    jobs = jobs or os.cpu_count() or 1
    os.makedirs(out_dir, exist_ok=True)
    # The plotting library takes longer to import than a small set takes to
    # code; the import runs while the coding threads work without the lock.
    plotting = threading.Thread(target=_import_plotting, daemon=True)
    plotting.start()
    with concurrent.futures.ThreadPoolExecutor(max_workers=jobs) as pool:
        regions = sum(1 for c in captures for light in lights if light in c.regions)
        with _progress(regions, "coding", quiet) as bar:
            failures = code_captures(captures, lights, pool, bar)
        seconds = {"coding": time.monotonic() - started}
        captures = [c for c in captures if c.codes]
        per_light = {}
        totals = 0
        members = {}
        for light in lights:
            members[light] = [k for k, c in enumerate(captures) if light in c.codes]
            n = len(members[light])
            totals += n * (n - 1) // 2
        with _progress(totals, "comparing", quiet) as bar:
            for light in lights:
                positions = members[light]
                codes = numpy.frombuffer(b"".join(captures[k].codes[light] for k in positions),
                                         dtype=numpy.uint8).reshape(len(positions),
                                                                    _palm.FEATURE_DATA_SIZE)
                index = numpy.full(len(captures), -1, dtype=numpy.int64)
                index[positions] = numpy.arange(len(positions))
                per_light[light] = {
                    "index": index,
                    "count": len(positions),
                    "distances": compare(numpy.ascontiguousarray(codes), pool, bar),
                }
        seconds["comparing"] = time.monotonic() - started - seconds["coding"]

    identities = numpy.array([c.identity for c in captures])
    summary = {"dataset": source, "captures": len(captures),
               "identities": int(len(set(identities.tolist())))}
    if extra:
        summary.update(extra)
    if failures:
        summary["unreadable"] = [{"capture": k, "light": light, "reason": why}
                                 for k, light, why in failures]
    histograms = {}
    for light in LIGHTS:
        if light not in per_light:
            summary[light] = None
            continue
        entry = per_light[light]
        ids = identities[members[light]]
        first, second = pair_indices(entry["count"])
        genuine_mask = ids[first] == ids[second]
        summary[light] = dict(light_summary(entry["distances"], genuine_mask),
                              captures=entry["count"])
        histograms[light] = (entry["distances"][genuine_mask], entry["distances"][~genuine_mask])

    # Pairs of captures that have both lights: the sum and the policies.
    curves = [(light, g, i) for light, (g, i) in histograms.items()]
    summary["sum"] = None
    summary["policies"] = []
    if len(per_light) == 2:
        both = [k for k in range(len(captures)) if len(captures[k].codes) == 2]
        first, second = pair_indices(len(both))
        both = numpy.array(both, dtype=numpy.int64)
        a, b = both[first], both[second]
        d = {}
        for light in LIGHTS:
            entry = per_light[light]
            d[light] = entry["distances"][pair_position(entry["index"][a], entry["index"][b],
                                                        entry["count"])]
        genuine_mask = identities[a] == identities[b]
        total = d["print"].astype(numpy.float64) + d["vein"].astype(numpy.float64)
        summary["sum"] = light_summary(total, genuine_mask)
        summary["policies"] = policy_rates(d["print"], d["vein"], genuine_mask)
        curves.append(("print + vein", total[genuine_mask], total[~genuine_mask]))

    plotting.join()
    outputs = {"summary": os.path.join(out_dir, "summary.json"),
               "pairs": os.path.join(out_dir, "pairs.csv"),
               "det": os.path.join(out_dir, "det.png")}
    write_pairs_csv(outputs["pairs"], captures, per_light, [l for l in LIGHTS if l in per_light])
    plot_det(curves, summary["policies"], outputs["det"],
             "DET, %d captures of %d hands" % (len(captures), summary["identities"]))
    for light, (g, i) in histograms.items():
        outputs["histogram_" + light] = os.path.join(out_dir, "histogram_%s.png" % light)
        plot_histogram(light, g, i, outputs["histogram_" + light])
    seconds["writing"] = time.monotonic() - started - seconds["coding"] - seconds["comparing"]
    summary["seconds"] = {k: round(v, 3) for k, v in seconds.items()}
    summary["files"] = {k: os.path.basename(v) for k, v in outputs.items()}
    with open(outputs["summary"], "w") as f:
        json.dump(summary, f, indent=2)
        f.write("\n")
    return summary


def _percent(rate):
    return "-" if rate is None else "%.3f%%" % (100 * rate)


def report(summary, out_dir, stream):
    for name in ("print", "vein", "sum"):
        s = summary.get(name)
        if s is None:
            continue
        stream.write("%-6s genuine pairs %d, impostor pairs %d, EER %s\n" %
                     (name, s["genuine_pairs"], s["impostor_pairs"], _percent(s["eer"])))
        if s["genuine_mean"] is not None and s["impostor_mean"] is not None:
            stream.write("%-6s genuine mean %.3f sd %.3f max %.3f, impostor mean %.3f sd %.3f "
                         "min %.3f\n" % (name, s["genuine_mean"], s["genuine_std"],
                                          s["genuine_max"], s["impostor_mean"],
                                          s["impostor_std"], s["impostor_min"]))
    for row in summary["policies"]:
        stream.write("policy %d FMR %s FNMR %s\n" %
                     (row["policy"], _percent(row["fmr"]), _percent(row["fnmr"])))
    stream.write("wrote %s: %s\n" % (out_dir, ", ".join(summary["files"].values())))


class _Parser(argparse.ArgumentParser):
    """Errors in the palm tool's style: "palm: REASON (usage: ...)", status 2."""

    def error(self, message):
        sys.stderr.write("palm: %s (usage: %s)\n" % (message, USAGE))
        sys.exit(2)


def main(argv=None):
    parser = _Parser(prog="palm evaluate", description=__doc__.split("\n")[0],
                     usage=USAGE)
    parser.add_argument("dataset", nargs="?", metavar="DATASET_DIR",
                        help="folder with print/ID/NAME.EXT and vein/ID/NAME.EXT")
    parser.add_argument("--out", default="evaluation", metavar="DIR",
                        help="folder for summary.json, pairs.csv and the plots (evaluation)")
    parser.add_argument("--synthetic", type=int, metavar="N",
                        help="evaluate N synthetic palms instead of a dataset")
    parser.add_argument("--captures", type=int, default=6, metavar="K",
                        help="captures of each synthetic palm (6)")
    parser.add_argument("--difficulty", choices=DIFFICULTIES, default="realistic",
                        help="how much synthetic captures vary: easy, realistic (default), hard")
    parser.add_argument("--jobs", type=int, default=0, metavar="J",
                        help="threads (all cores)")
    parser.add_argument("--quiet", action="store_true", help="no progress bar")
    args = parser.parse_args(argv)
    if (args.dataset is None) == (args.synthetic is None):
        parser.error("give either DATASET_DIR or --synthetic N")
    if args.synthetic is not None and not 2 <= args.synthetic <= 100000:
        parser.error("--synthetic must be 2 to 100000")
    if not 1 <= args.captures <= 1000:
        parser.error("--captures must be 1 to 1000")
    if args.jobs < 0:
        parser.error("--jobs must be positive")
    jobs = args.jobs or os.cpu_count() or 1
    try:
        if args.synthetic is not None:
            with concurrent.futures.ThreadPoolExecutor(max_workers=jobs) as pool:
                with _progress(args.synthetic * args.captures, "rendering", args.quiet) as bar:
                    captures, failed = synthetic_captures(args.synthetic, args.captures, pool,
                                                          bar, args.difficulty)
            if not captures:
                raise EvaluationError("no synthetic capture could be cropped")
            summary = evaluate(captures, list(LIGHTS), args.out, jobs, args.quiet,
                               "synthetic:%d" % args.synthetic,
                               {"failed_to_crop": failed, "difficulty": args.difficulty})
        else:
            captures, lights = load_dataset(args.dataset)
            summary = evaluate(captures, lights, args.out, jobs, args.quiet, args.dataset)
    except EvaluationError as e:
        sys.stderr.write("palm: %s\n" % e)
        return 2
    report(summary, args.out, sys.stdout)
    return 0


if __name__ == "__main__":
    sys.exit(main())
