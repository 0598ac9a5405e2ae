"""Identification latency of a sharded gallery against one in-process
parallel partition holding the same users in the same order.

    python3 -m palm.cluster.bench --users 10000 --shards 2 [--scheduler ADDR]

Prints the median latency of each, their ratio, and identifications per
second with many probes in flight in the gallery. Without --scheduler a local
cluster of one worker process per shard is started on 127.0.0.1."""

import argparse
import concurrent.futures
import os
import statistics
import sys
import tempfile
import time

import numpy

from .. import _palm
from .gallery import Gallery
from .journal import Journal


def synthetic(users, cells, seed):
    """Texts of unrelated users, and genuine one-cell probes of some of them."""
    rng = numpy.random.default_rng(seed)
    texts = []
    probes = []
    for i in range(users):
        codes = rng.integers(0, 256, size=(cells, 2, _palm.FEATURE_DATA_SIZE), dtype=numpy.uint8)
        texts.append(("user%07d" % i, _palm.crypt_feature([(c[0].tobytes(), c[1].tobytes())
                                                           for c in codes])[0]))
        if i % max(1, users // 64) == 0:
            noisy = codes[0].copy()
            flips = rng.random(noisy.shape) < 0.02
            noisy ^= (flips * rng.integers(1, 256, size=noisy.shape)).astype(numpy.uint8)
            probes.append(_palm.crypt_feature([(noisy[0].tobytes(), noisy[1].tobytes())])[0])
    return texts, probes


def median_latency(identify, probes, rounds):
    times = []
    answers = []
    for _ in range(rounds):
        for p in probes:
            start = time.perf_counter()
            answers.append(identify(p))
            times.append(time.perf_counter() - start)
    return statistics.median(times), answers[:len(probes)]


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m palm.cluster.bench", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--users", type=int, default=10000)
    parser.add_argument("--shards", type=int, default=2)
    parser.add_argument("--scheduler", default=None)
    parser.add_argument("--cells", type=int, default=25)
    parser.add_argument("--threads", type=int, default=0,
                        help="matching threads of the single partition (0: one per processor); "
                             "each shard gets its share")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--in-flight", type=int, default=8)
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args(argv)
    if args.users < 1 or args.shards < 1 or not 1 <= args.cells <= 133:
        parser.error("--users and --shards must be positive, --cells 1 to 133")
    threads = args.threads or os.cpu_count() or 1
    shard_threads = max(1, threads // args.shards)

    texts, probes = synthetic(args.users, args.cells, args.seed)
    single = _palm.GalleryShard(policy=1, workers=threads)
    for user, text in texts:
        single.push(user, text)

    with tempfile.TemporaryDirectory() as scratch:
        path = os.path.join(scratch, "gallery.db")
        journal = Journal(path)
        journal.push_many(texts)
        journal.set_meta("policy", 1)
        journal.close()
        del texts
        start = time.perf_counter()
        g = Gallery.open(path, shards=args.shards, scheduler=args.scheduler,
                         threads=shard_threads, timeout=600)
        loaded = time.perf_counter() - start
        try:
            g.identify(probes[0])  # connections made, code paged in
            single.identify(probes[0])
            t_single, a_single = median_latency(single.identify, probes, args.rounds)
            t_gallery, a_gallery = median_latency(g.identify, probes, args.rounds)
            if a_single != a_gallery:
                print("ANSWERS DIFFER between the gallery and the partition", file=sys.stderr)
                return 1
            with concurrent.futures.ThreadPoolExecutor(args.in_flight) as pool:
                start = time.perf_counter()
                done = sum(1 for _ in pool.map(g.identify, probes * args.rounds))
                rate = done / (time.perf_counter() - start)
        finally:
            g.close()
    found = sum(a is not None for a in a_gallery)
    print("users %d, cells %d, shards %d (%d threads each), partition threads %d" %
          (args.users, args.cells, args.shards, shard_threads, threads))
    print("gallery loaded from its journal in %.1f s" % loaded)
    print("identification, one parallel partition: %.2f ms" % (t_single * 1e3))
    print("identification, gallery: %.2f ms" % (t_gallery * 1e3))
    print("ratio gallery / partition: %.2f" % (t_gallery / t_single))
    print("gallery, %d in flight: %.1f identifications/s" % (args.in_flight, rate))
    print("probes identified: %d of %d, same answers in both" % (found, len(probes)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
