"""Coding, matching and cropping release the interpreter lock, so Python
threads run them in parallel.

The proof does not rest on speed. The interpreter's switch interval is made
longer than the test, so a thread that holds the lock keeps it until it lets
go of its own accord. A worker thread calls one function over and over until
the main thread has run, or until a time limit: the main thread, which waits
for the lock meanwhile, gets to run before that limit only if the function
lets go of the lock.
"""

import sys
import threading
import time

import numpy

import palm


def main_thread_runs_during(work, limit=10.0):
    """True when the main thread got to run while another thread was calling
    `work` again and again, before `limit` seconds had passed."""
    main_ran = []
    started = threading.Event()
    timed_out = []

    def worker():
        started.set()
        end = time.monotonic() + limit
        while not main_ran:
            if time.monotonic() > end:
                timed_out.append(True)
                return
            work()

    previous = sys.getswitchinterval()
    sys.setswitchinterval(1000.0)
    try:
        t = threading.Thread(target=worker)
        t.start()
        started.wait()
        main_ran.append(True)  # needs the lock, which the worker holds but in `work`
        t.join()
    finally:
        sys.setswitchinterval(previous)
    return not timed_out


def test_extract_runs_without_the_lock(regions):
    assert main_thread_runs_during(lambda: palm.extract(regions[0]))


def test_match_runs_without_the_lock(regions, other_regions):
    a, b = palm.extract(regions[0]), palm.extract(other_regions[0])
    assert main_thread_runs_during(lambda: palm.match(a, b))


def test_match_pairs_runs_without_the_lock(regions):
    codes = numpy.frombuffer(palm.extract(regions[0]) * 50, numpy.uint8).reshape(50, 384)
    first, second = numpy.triu_indices(50, 1)
    assert main_thread_runs_during(lambda: palm.match_pairs(codes, first, second))


def test_crop_runs_without_the_lock(frames):
    assert main_thread_runs_during(lambda: palm.crop(*frames))


def test_one_to_one_matching_runs_without_the_lock(regions):
    text, _ = palm.crypt_feature([(palm.extract(regions[0]), palm.extract(regions[1]))])
    assert palm.create_partition(777, 0)
    try:
        assert main_thread_runs_during(lambda: palm.match_1v1(777, text, "", text))
    finally:
        palm.delete_partition(777)


def test_a_function_that_keeps_the_lock_is_told_apart():
    # The check itself can fail: pure Python work never lets go here.
    assert not main_thread_runs_during(lambda: sum(range(2000)), limit=1.0)


def test_threads_code_and_crop_the_same_as_one_thread(frames, regions):
    expected_code = palm.extract(regions[0])
    expected_fields = palm.crop(*frames).fields()
    results = []

    def worker():
        for _ in range(10):
            results.append((palm.extract(regions[0]) == expected_code,
                            palm.crop(*frames).fields() == expected_fields))

    threads = [threading.Thread(target=worker) for _ in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert results == [(True, True)] * 40


def test_precheck_runs_without_the_lock(frames):
    assert main_thread_runs_during(lambda: palm.precheck(frames[1]))
