"""A sharded gallery losing a worker and getting it back, in a few lines of
output (the cluster part of ``palm demo``):

    python3 -m palm.cluster.demo [--users N] [--cells N] [--seed N]

A local cluster of 3 worker processes holds the gallery. Genuine probes are
identified and strangers refused; then the worker holding shard 0 is killed,
identification raises ShardUnavailable instead of answering from the rest,
the shard is rebuilt from the journal and the answers are the ones given
before.

Exit status: 0 when every check holds, 3 when one fails, 4 when Dask is not
installed (the reason is printed)."""

import argparse
import logging
import os
import signal
import sys
import tempfile
import time

import numpy

from .. import _palm

SHARDS = 3
GENUINE = 4
STRANGERS = 2
EXIT_FAILED = 3
EXIT_NO_DASK = 4


def _text(codes):
    return _palm.crypt_feature([(c[0].tobytes(), c[1].tobytes()) for c in codes])[0]


def _people(users, cells, seed):
    """Texts of unrelated users; one-cell probes of some of them, noisy as a
    second capture would be; one-cell probes of people nobody enrolled."""
    rng = numpy.random.default_rng(seed)
    shape = (cells, 2, _palm.FEATURE_DATA_SIZE)
    texts, genuine = [], []
    step = max(1, users // GENUINE)
    for i in range(users):
        codes = rng.integers(0, 256, size=shape, dtype=numpy.uint8)
        texts.append(("user-%05d" % i, _text(codes)))
        if i % step == 0 and len(genuine) < GENUINE:
            noisy = codes[:1].copy()
            flips = rng.random(noisy.shape) < 0.02
            noisy ^= (flips * rng.integers(1, 256, size=noisy.shape)).astype(numpy.uint8)
            genuine.append(("user-%05d" % i, _text(noisy)))
    strangers = [_text(rng.integers(0, 256, size=(1,) + shape[1:], dtype=numpy.uint8))
                 for _ in range(STRANGERS)]
    return texts, genuine, strangers


def _wait(what, seconds):
    """Calls `what` until it returns something other than None, for at most
    `seconds`; its last result."""
    deadline = time.monotonic() + seconds
    while True:
        result = what()
        if result is not None or time.monotonic() > deadline:
            return result
        time.sleep(0.1)


class _aside_stderr:
    """Keeps what the worker processes write to the standard error (their
    reports of the killed worker, and Dask's own complaints while the cluster
    stops) in a file, shown only when a check failed."""

    def __init__(self, folder):
        self._path = os.path.join(folder, "dask.log")
        self.show = False

    def __enter__(self):
        sys.stderr.flush()
        self._saved = os.dup(2)
        with open(self._path, "wb") as log:
            os.dup2(log.fileno(), 2)
        return self

    def __exit__(self, *exc):
        sys.stderr.flush()
        os.dup2(self._saved, 2)
        os.close(self._saved)
        if self.show or exc[0] is not None:
            with open(self._path, errors="replace") as log:
                sys.stderr.write(log.read())
        return False


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m palm.cluster.demo", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--users", type=int, default=300)
    parser.add_argument("--cells", type=int, default=25)
    parser.add_argument("--seed", type=int, default=2026)
    args = parser.parse_args(argv)
    if args.users < GENUINE or not 1 <= args.cells <= 133:
        parser.error("--users must be at least %d, --cells 1 to 133" % GENUINE)
    # Dask's own start-up notes (stale scratch folders purged) are not the demo's.
    os.environ.setdefault("DASK_LOGGING__DISTRIBUTED", "error")
    try:
        import distributed  # noqa: F401
    except ImportError as error:
        print("cluster gallery not shown: Dask is not installed (%s)" % error)
        return EXIT_NO_DASK
    from .gallery import Gallery, ShardUnavailable

    # The demo shows the shard being lost; the logs of it would only repeat that.
    logging.getLogger("palm.cluster").setLevel(logging.ERROR)
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    texts, genuine, strangers = _people(args.users, args.cells, args.seed)
    probes = [p for _, p in genuine] + strangers
    checks = []

    with tempfile.TemporaryDirectory() as scratch, _aside_stderr(scratch) as aside:
        start = time.perf_counter()
        g = Gallery(shards=SHARDS, journal=os.path.join(scratch, "gallery.db"), policy=1,
                    threads=1, timeout=30)
        try:
            print("local cluster: %d worker processes on 127.0.0.1, started in %.1f s" %
                  (len(g.client.scheduler_info()["workers"]), time.perf_counter() - start))
            start = time.perf_counter()
            stored = sum(g.push(user, text) for user, text in texts)
            print("gallery: %d of %d users pushed over %d shards in %.1f s, journal on disk" %
                  (stored, len(texts), SHARDS, time.perf_counter() - start))
            checks.append(stored == len(texts))

            before = [g.identify(p) for p in probes]
            found = sum(a == user for a, (user, _) in zip(before, genuine))
            refused = sum(a is None for a in before[len(genuine):])
            print("genuine probes: %d of %d identified; strangers: %d of %d refused" %
                  (found, len(genuine), refused, len(strangers)))
            checks.append(found == len(genuine) and refused == len(strangers))

            worker = g._shards[0].worker
            pid = g.client.run(os.getpid, workers=[worker])[worker]
            os.kill(pid, signal.SIGKILL)
            print("worker of shard 0 killed (pid %d)" % pid)
            killed = time.perf_counter()

            def unavailable():
                try:
                    g.identify(probes[0])
                except ShardUnavailable as error:
                    return error
                return None

            error = _wait(unavailable, 20)
            print("identify: %s" % ("ShardUnavailable: %s" % error if error is not None
                                    else "answered without shard 0 (WRONG)"))
            checks.append(error is not None)

            def recovered():
                try:
                    return [g.identify(p) for p in probes]
                except ShardUnavailable:
                    return None

            after = _wait(recovered, 60)
            if after is None:
                print("shard 0 not rebuilt within 60 s")
                checks.append(False)
            else:
                print("shard 0 rebuilt from the journal %.1f s after the kill" %
                      (time.perf_counter() - killed))
                same = after == before
                print("same answers as before the kill: %s" % ("yes" if same else "NO"))
                checks.append(same)
        finally:
            g.close()
        if not all(checks):
            aside.show = True
    return 0 if all(checks) else EXIT_FAILED


if __name__ == "__main__":
    sys.exit(main())
