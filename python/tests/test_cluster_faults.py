"""A worker killed in the middle of identifications, a restarted worker, and
a gallery reopened after the whole cluster stopped: never a false "unknown",
and the same answers afterwards."""

import threading
import time

import pytest

from cluster_support import DaskProcesses, population, skip_unless_cluster

pytestmark = [skip_unless_cluster, pytest.mark.filterwarnings("ignore::DeprecationWarning")]


@pytest.fixture
def procs(tmp_path):
    p = DaskProcesses(tmp_path)
    try:
        yield p
    finally:
        p.stop()


def gallery(address, path, shards):
    from palm.cluster import Gallery

    return Gallery(scheduler=address, shards=shards, journal=str(path), policy=1, timeout=30)


def wait_until(condition, timeout, what):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        if condition():
            return
        time.sleep(0.05)
    raise AssertionError("timed out waiting for " + what)


def answers_or_unavailable(g, probes):
    from palm.cluster import ShardUnavailable

    try:
        return [g.identify(p) for p in probes]
    except ShardUnavailable as error:
        return error


def test_a_killed_worker_makes_its_shard_unavailable_until_rebuilt(procs, tmp_path):
    from palm.cluster import ShardUnavailable

    templates, probes = population()
    procs.start_scheduler()
    first, second = procs.start_worker(), procs.start_worker()
    g = gallery(procs.address, tmp_path / "g.db", shards=3)
    try:
        g.client.wait_for_workers(2, timeout=60)
        for name, text in templates.items():
            assert g.push(name, text)
        expected = [g.identify(p) for p in probes]
        assert expected[0] == "user001" and expected[-2] is None

        # A run of identifications; the worker of shard 0 dies in its middle.
        outcomes, stop = [], threading.Event()

        def identify_on():
            while not stop.is_set():
                outcomes.append(answers_or_unavailable(g, probes))

        runner = threading.Thread(target=identify_on)
        runner.start()
        try:
            wait_until(lambda: len(outcomes) >= 2, 60, "identifications before the kill")
            victim = procs.worker_name(g.client, g._shards[0].worker)
            on_victim = {s.index for s in g._shards if s.worker == g._shards[0].worker}
            procs.kill(victim)
            killed_at = len(outcomes)
            wait_until(lambda: any(isinstance(o, ShardUnavailable) for o in outcomes[killed_at:]),
                       30, "ShardUnavailable after the kill")
            # Rebuilt on the live worker by itself.
            wait_until(lambda: outcomes and outcomes[-1] == expected and len(
                [o for o in outcomes[killed_at:] if o == expected]) >= 2, 60, "the rebuild")
        finally:
            stop.set()
            runner.join(timeout=60)
        errors = [o for o in outcomes if isinstance(o, ShardUnavailable)]
        assert errors and all(set(e.shards) <= on_victim for e in errors)
        assert any(0 in e.shards for e in errors)
        # Never a partial answer: every run that answered gave the full answers.
        assert all(o == expected for o in outcomes if not isinstance(o, ShardUnavailable))
        survivor = second if victim == first else first
        assert all(s.worker == g._shards[0].worker for s in g._shards)
        assert procs.worker_name(g.client, g._shards[0].worker) == survivor

        # Changes while shards are missing go to the journal and are not lost.
        procs.kill(survivor)
        wait_until(lambda: isinstance(answers_or_unavailable(g, probes[:1]), ShardUnavailable),
                   30, "ShardUnavailable with no worker at all")
        assert g.delete("user002")
        assert g.push("user002", templates["user002"])
        with pytest.raises(ShardUnavailable):
            g.verify("user001", probes[0])
        time.sleep(0.5)  # nothing to rebuild on: still unavailable
        assert isinstance(answers_or_unavailable(g, probes), ShardUnavailable)
        # A restarted worker takes every shard.
        procs.start_worker()
        wait_until(lambda: answers_or_unavailable(g, probes[:1]) == expected[:1], 60,
                   "the rebuild on a restarted worker")
        assert answers_or_unavailable(g, probes) == expected
        assert g.verify("user001", probes[0])
        assert len(g) == len(templates)
    finally:
        g.close()


def test_a_gallery_reopened_after_the_cluster_stopped_answers_the_same(tmp_path):
    from palm.cluster import Gallery, ShardUnavailable

    templates, probes = population()
    path = tmp_path / "g.db"
    procs = DaskProcesses(tmp_path / "first")
    try:
        procs.start_scheduler()
        procs.start_worker()
        g = gallery(procs.address, path, shards=3)
        try:
            for name, text in templates.items():
                g.push(name, text)
            g.delete("user003")
            g.delete("user007")
            g.push("user007", templates["user007"])
            expected = [g.identify(p) for p in probes]
            # The whole cluster stops under the gallery: changes still reach the
            # journal, and closing does not hang on the missing scheduler.
            for name in list(procs.procs):
                procs.kill(name)
            wait_until(lambda: isinstance(answers_or_unavailable(g, probes[:1]), ShardUnavailable),
                       30, "ShardUnavailable with the cluster gone")
            assert g.push("user003", templates["user003"])
        finally:
            started = time.monotonic()
            g.close()
            assert time.monotonic() - started < 15
    finally:
        procs.stop()
    assert expected[4] == "twin-a"

    again = DaskProcesses(tmp_path / "second")
    try:
        again.start_scheduler()
        again.start_worker()
        again.start_worker()
        # Another number of shards spreads the users otherwise; same answers.
        g = Gallery.open(str(path), shards=2, scheduler=again.address)
        try:
            assert g.policy == 1
            assert len(g) == len(templates)
            assert [g.identify(p) for p in probes] == expected
            assert g.verify("user003", templates["user003"])
        finally:
            g.close()
    finally:
        again.stop()


def test_changes_made_while_a_shard_is_rebuilt_reach_it(procs, tmp_path):
    from palm.cluster import ShardUnavailable

    from cluster_support import Reference, apply_step

    templates, probes = population()
    procs.start_scheduler()
    procs.start_worker()
    procs.start_worker()
    reference = Reference()
    g = gallery(procs.address, tmp_path / "g.db", shards=2)
    try:
        g.client.wait_for_workers(2, timeout=60)
        assert g._shards[0].worker != g._shards[1].worker
        names = list(templates)
        late = [n for n in names[40:] if g._shard_of(n) == 0][:3]
        for name in names:
            if name not in late:
                assert g.push(name, templates[name])
                reference.push(name, templates[name])
        on_zero = [n for n in names[:40] if g._shard_of(n) == 0]

        # Hold the rebuild of shard 0 in the middle of its loading.
        loading, release = threading.Event(), threading.Event()
        load = g._load

        def held_load(shard, batch):
            loading.set()
            assert release.wait(60)
            load(shard, batch)

        g._load = held_load
        procs.kill(procs.worker_name(g.client, g._shards[0].worker))
        assert loading.wait(60)
        assert g._shards[0].state == "building"
        with pytest.raises(ShardUnavailable):
            g.identify(probes[0])
        steps = [("push", late[0]), ("delete", on_zero[0]), ("push", on_zero[1]),
                 ("push", late[1]), ("delete", late[1]), ("push", on_zero[0]), ("push", late[2])]
        for op, name in steps:
            apply_step(g, reference, templates, op, name)
        release.set()
        wait_until(lambda: not isinstance(answers_or_unavailable(g, probes[:1]), ShardUnavailable),
                   60, "the rebuild")
        assert g._shards[0].state == "live"
        assert g._shards[0].actor.users().result(timeout=30) == [
            u for u in reference.shard.users() if g._shard_of(u) == 0]
        assert [g.identify(p) for p in probes] == [reference.identify(p) for p in probes]
        assert len(g) == len(reference.shard)
    finally:
        g.close()
        reference.close()
