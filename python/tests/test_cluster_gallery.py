"""The sharded gallery against one shard holding everybody, on a real Dask
scheduler and real worker processes on the loopback address."""

import random
import threading

import pytest

from cluster_support import (DaskProcesses, Reference, apply_step, flip, population, random_code,
                             skip_unless_cluster, template, worker_env)

pytestmark = [skip_unless_cluster, pytest.mark.filterwarnings("ignore::DeprecationWarning")]


@pytest.fixture(scope="module")
def dask_cluster(tmp_path_factory):
    procs = DaskProcesses(tmp_path_factory.mktemp("dask"))
    try:
        procs.start_scheduler()
        procs.start_worker()
        procs.start_worker()
        yield procs
    finally:
        procs.stop()


@pytest.fixture(scope="module")
def people():
    return population()


def open_gallery(procs, path, shards=3, policy=1, **options):
    from palm.cluster import Gallery

    g = Gallery(scheduler=procs.address, shards=shards, journal=str(path), policy=policy,
                timeout=30, **options)
    g.client.wait_for_workers(len([n for n in procs.procs if n.startswith("worker")
                                   and procs.procs[n].poll() is None]), timeout=60)
    return g


def test_the_gallery_answers_as_one_shard_with_everybody(dask_cluster, people, tmp_path):
    templates, probes = people
    reference = Reference()
    g = open_gallery(dask_cluster, tmp_path / "g.db")
    try:
        assert len(g) == 0
        assert g.identify(probes[0]) is None
        for name, text in templates.items():
            assert g.push(name, text)
            reference.push(name, text)
        assert len(g) == len(templates)
        answers = [g.identify(p) for p in probes]
        assert answers == [reference.identify(p) for p in probes]
        # The probes are built to be found: a test that could not fail is none.
        assert answers[0] == "user001" and answers[-2] is None and answers[-1] == "user021"
        # Exact twins tie on every distance: the first taken wins.
        assert answers[4] == "twin-a" or answers[4] == "user007"
        assert answers[4] == "user007"  # pushed before its twins
        assert answers[7] is not None and answers[7].startswith("crowd")

        # Pushed again keeps the place; deleted and pushed again goes last.
        for step in (("push", "user007"), ("delete", "user007"), ("push", "user007"),
                     ("delete", "twin-b"), ("push", "crowd05")):
            apply_step(g, reference, templates, *step)
            assert [g.identify(p) for p in probes] == [reference.identify(p) for p in probes]
        assert g.identify(probes[4]) == "twin-a"
        assert not g.delete("user007x")
        assert g.verify("user001", probes[0]) and reference.verify("user001", probes[0])
        assert not g.verify("user002", probes[0])
        assert not g.verify("nobody", probes[0])
        assert len(g) == len(templates) - 1
    finally:
        g.close()
        reference.close()


def test_bad_input_gets_a_defined_answer(dask_cluster, people, tmp_path):
    from palm.cluster import Gallery

    templates, probes = people
    g = open_gallery(dask_cluster, tmp_path / "g.db", shards=2)
    try:
        text = templates["user001"]
        assert not g.push("", text)
        assert not g.push("a\0b", text)
        assert not g.push("\udcff", text)
        assert not g.push("mallory", "")
        assert not g.push("mallory", "not base64 at all!")
        assert not g.push("mallory", text[:-9])
        assert len(g) == 0
        with pytest.raises(TypeError):
            g.push(None, text)
        with pytest.raises(TypeError):
            g.push("mallory", b"bytes")
        with pytest.raises(TypeError):
            g.identify(None)
        with pytest.raises(TypeError):
            g.verify("user001", 5)
        with pytest.raises(TypeError):
            g.delete(3)
        assert g.push("user001", text)
        assert g.identify("") is None
        assert g.identify("%%%") is None
        assert g.identify(text[:100]) is None
        assert not g.verify("user001", "")
        assert g.identify(text) == "user001"
        assert type(g.client).__name__ == "Client"
    finally:
        g.close()
    for shards in (0, -1, 1.5, True):
        with pytest.raises(ValueError):
            Gallery(scheduler=dask_cluster.address, shards=shards, journal=str(tmp_path / "x.db"))
    for policy in (-1, 6, "1"):
        with pytest.raises(ValueError):
            Gallery(scheduler=dask_cluster.address, shards=2, policy=policy,
                    journal=str(tmp_path / "x.db"))
    with pytest.raises(FileNotFoundError):
        Gallery.open(str(tmp_path / "missing.db"), shards=2, scheduler=dask_cluster.address)


def test_many_identifications_in_flight_answer_alike(dask_cluster, people, tmp_path):
    templates, probes = people
    g = open_gallery(dask_cluster, tmp_path / "g.db", shards=4)
    try:
        for name, text in templates.items():
            g.push(name, text)
        expected = [g.identify(p) for p in probes]
        seen = []

        def run():
            seen.append([g.identify(p) for p in probes])

        threads = [threading.Thread(target=run) for _ in range(4)]
        for t in threads:
            t.start()
        for t in threads:
            t.join(timeout=120)
        assert seen == [expected] * 4
    finally:
        g.close()


@pytest.mark.parametrize("seed", [1, 2])
def test_random_galleries_answer_as_one_parallel_partition(dask_cluster, tmp_path, seed):
    """Templates of 1 to 25 cells (each stride rule of the coarse stage, with
    and without a fine stage), ties, pushes again, deletes, probes of 1 to 5
    cells, several policies."""
    rng = random.Random(seed)
    policy = [1, 0, 3][seed % 3]
    bases = [(random_code(rng), random_code(rng)) for _ in range(12)]
    texts = {}
    for i in range(45):
        p, v = bases[rng.randrange(len(bases))]
        count = rng.choice([1, 2, 5, 7, 10, 12, 15, 25])
        cells = [(flip(p, rng, rng.choice([0.04, 0.08, 0.2])), flip(v, rng, 0.06))
                 for _ in range(count)]
        texts["p%02d" % i] = template(cells)
    names = list(texts)
    for twin in range(0, 6, 2):  # identical templates under two names
        texts[names[twin + 1]] = texts[names[twin]]
    probes = []
    for _ in range(14):
        count = rng.randint(1, 5)
        cells = []
        for _ in range(count):
            if rng.random() < 0.6:
                p, v = bases[rng.randrange(len(bases))]
                cells.append((flip(p, rng, 0.1), flip(v, rng, 0.1)))
            else:
                cells.append((random_code(rng), random_code(rng)))
        probes.append(template(cells))

    reference = Reference(policy=policy)
    g = open_gallery(dask_cluster, tmp_path / "g.db", shards=3, policy=policy)
    try:
        for name in names:
            assert g.push(name, texts[name]) == reference.push(name, texts[name])
        for round_ in range(3):
            expected = [reference.identify(p) for p in probes]
            assert [g.identify(p) for p in probes] == expected
            assert any(e is not None for e in expected) and None in expected
            for name in rng.sample(names, 6):
                if rng.random() < 0.5:
                    assert g.delete(name) == reference.delete(name)
                else:
                    text = texts[names[rng.randrange(len(names))]]
                    assert g.push(name, text) == reference.push(name, text)
        for name in names[:10]:
            for p in probes[:3]:
                assert g.verify(name, p) == reference.verify(name, p)
        assert len(g) == len(reference.shard)
    finally:
        g.close()
        reference.close()


def test_a_local_cluster_is_started_and_stopped_by_the_gallery(tmp_path, monkeypatch):
    from palm.cluster import Gallery

    # The worker processes find the package as this process does.
    monkeypatch.setenv("PYTHONPATH", worker_env()["PYTHONPATH"])
    templates, probes = population()
    g = Gallery(shards=3, journal=str(tmp_path / "g.db"), policy=1)
    try:
        client = g.client
        assert len(client.scheduler_info()["workers"]) == 3
        assert all(a.startswith("tcp://127.0.0.1:") for a in client.scheduler_info()["workers"])
        assert len({s.worker for s in g._shards}) == 3
        reference = Reference()
        for name in list(templates)[:30]:
            assert g.push(name, templates[name])
            reference.push(name, templates[name])
        assert [g.identify(p) for p in probes] == [reference.identify(p) for p in probes]
        assert g.identify(probes[0]) == "user001"
        reference.close()
    finally:
        g.close()
    assert client.status == "closed"
