"""palm.GalleryShard and palm.select_candidate: the stages of an
identification, composed over several shards, answer as one shard holding
all the users does."""

import random
import threading

import pytest

import palm

CODE = 384


class Codes:
    """Random palm codes, with a small pool of shared ones so that distances
    tie, and noisy copies for genuine probes."""

    def __init__(self, seed):
        self.rng = random.Random(seed)
        self.pool = [self.fresh() for _ in range(6)]

    def fresh(self):
        return bytes(self.rng.getrandbits(8) for _ in range(CODE))

    def noisy(self, code, flips):
        b = bytearray(code)
        for _ in range(flips):
            i = self.rng.randrange(CODE * 8)
            b[i // 8] ^= 1 << (i % 8)
        return bytes(b)

    def code(self):
        kind = self.rng.randrange(10)
        if kind < 4:
            return self.rng.choice(self.pool)
        if kind < 6:
            return self.noisy(self.rng.choice(self.pool), 100)
        return self.fresh()

    def record(self, cells):
        return [(self.code(), self.code()) for _ in range(cells)]


def text(record):
    return palm.crypt_feature(record)[0]


def composed_identify(shards, order, probe, check=None):
    """The gallery's search: per probe cell, the coarse lists of all shards
    merged by (distance, global order), the best 50 sent back to their owners
    for the fine and verify stages, and the selection over all verdicts in
    merged order. `order[shard][local index]` is the user's global order;
    `check`, a shard of all the users, must give the merged list itself."""
    cells = shards[0].cells(probe)
    for cell in range(cells):
        merged = []
        for s, shard in enumerate(shards):
            for distance, local, user in shard.coarse(probe, cell):
                merged.append((distance, order[s][local], s, user))
        merged.sort(key=lambda e: (e[0], e[1]))
        merged = merged[:50]
        if check is not None:
            assert [(d, o, u) for d, o, _, u in merged] == check.coarse(probe, cell)
        verdicts = [None] * len(merged)
        for s, shard in enumerate(shards):
            mine = [j for j, e in enumerate(merged) if e[2] == s]
            if not mine:
                continue
            for j, v in zip(mine, shard.fine(probe, cell, [merged[j][3] for j in mine])):
                verdicts[j] = v
        chosen = palm.select_candidate(verdicts)
        if chosen >= 0:
            return merged[chosen][3]
    return None


@pytest.mark.parametrize("seed", range(6))
def test_shards_composed_answer_as_one_shard(seed):
    codes = Codes(seed)
    rng = codes.rng
    policy = seed % 6
    nshards = 2 + seed % 3
    whole = palm.GalleryShard(policy=policy, workers=3)
    shards = [palm.GalleryShard(policy=policy, workers=1 + s % 2) for s in range(nshards)]
    records = {}
    owner = {}
    sequence = []  # users in the order the whole gallery took them
    for u in range(rng.randrange(20, 120)):
        name = "user %d" % u
        cells = 25 if rng.random() < 0.5 else rng.randrange(1, 31)
        records[name] = codes.record(cells)
        owner[name] = rng.randrange(nshards)
        assert whole.push(name, text(records[name]))
        assert shards[owner[name]].push(name, text(records[name]))
        sequence.append(name)
    # Some users push again (keeping their place), some leave.
    for name in rng.sample(sequence, len(sequence) // 5):
        records[name] = codes.record(rng.randrange(1, 31))
        assert whole.push(name, text(records[name]))
        assert shards[owner[name]].push(name, text(records[name]))
    gone = rng.sample(sequence, len(sequence) // 10)
    for name in gone:
        assert whole.delete(name)
        assert shards[owner[name]].delete(name)
        sequence.remove(name)
    # Half of them come back, at the end of the order.
    for name in gone[::2]:
        assert whole.push(name, text(records[name]))
        assert shards[owner[name]].push(name, text(records[name]))
        sequence.append(name)
    for name in gone[1::2]:
        del records[name]
    assert whole.users() == sequence
    rank = {name: i for i, name in enumerate(sequence)}
    order = [[rank[u] for u in shard.users()] for shard in shards]
    assert sum(len(s) for s in shards) == len(whole)

    identified = 0
    for _ in range(12):
        probe = []
        for _ in range(rng.randrange(1, 6)):
            if rng.random() < 0.6:
                r = records[rng.choice(sequence)]
                p, v = rng.choice(r)
                probe.append((codes.noisy(p, rng.randrange(0, 400)),
                              codes.noisy(v, rng.randrange(0, 400))))
            else:
                probe.append((codes.code(), codes.code()))
        t = text(probe)
        want = whole.identify(t)
        assert composed_identify(shards, order, t, check=whole) == want
        assert composed_identify([whole], [list(range(len(whole)))], t) == want
        identified += want is not None
    if policy != 5:
        assert identified > 0


def test_the_stages_of_one_shard():
    codes = Codes(100)
    s = palm.GalleryShard()
    assert s.policy == 1 and len(s) == 0
    alice = [(codes.fresh(), codes.fresh()) for _ in range(25)]
    bob = [(codes.fresh(), codes.fresh()) for _ in range(25)]
    assert s.push("alice", text(alice))
    assert s.push("bøb", text(bob))
    assert s.users() == ["alice", "bøb"] and len(s) == 2
    assert s.memory_bytes() >= 2 * 25 * 2 * CODE
    # A genuine probe of a variant cell: the coarse stage samples cells 0, 5,
    # ... and the fine stage finds the variant.
    probe = text([(codes.noisy(bob[3][0], 50), codes.noisy(bob[3][1], 50))])
    assert s.cells(probe) == 1
    coarse = s.coarse(probe, 0)
    assert [c[1:] for c in coarse] in ([(0, "alice"), (1, "bøb")], [(1, "bøb"), (0, "alice")])
    assert coarse == sorted(coarse, key=lambda c: (c[0], c[1]))
    verdicts = s.fine(probe, 0, ["bøb", "alice", "nobody"])
    assert verdicts[0][0] and verdicts[0][3] == 3
    assert verdicts[0][1] < 0.1 and verdicts[0][2] < 0.1
    assert not verdicts[1][0]
    assert verdicts[2] == (False, 1.0, 1.0, -1)
    assert palm.select_candidate(verdicts) == 0
    assert s.identify(probe) == "bøb"
    assert s.verify("bøb", probe) and not s.verify("alice", probe)
    assert not s.verify("nobody", probe)
    assert s.set_match_policy(0) and s.policy == 0
    assert not s.set_match_policy(6) and s.policy == 0
    assert s.delete("bøb") and not s.delete("bøb")
    assert s.identify(probe) is None and s.users() == ["alice"]


@pytest.mark.parametrize("seed", [7, 8])
def test_coarse_fine_is_coarse_then_fine_of_its_users(seed):
    codes = Codes(seed)
    s = palm.GalleryShard(policy=seed % 6, workers=2)
    records = [codes.record(codes.rng.choice([1, 5, 10, 25])) for _ in range(120)]
    for i, r in enumerate(records):
        assert s.push("u%d" % i, text(r))
    for r in records[::17]:
        probe = text([(codes.noisy(r[0][0], 200), codes.noisy(r[0][1], 200)),
                       (codes.fresh(), codes.fresh())])
        for cell in range(2):
            coarse = s.coarse(probe, cell)
            verdicts = s.fine(probe, cell, [u for _, _, u in coarse])
            assert s.coarse_fine(probe, cell) == [(d, u, v) for (d, _, u), v in
                                                  zip(coarse, verdicts)]


def test_select_candidate_takes_the_smallest_square_and_the_earlier_on_a_tie():
    assert palm.select_candidate([]) == -1
    assert palm.select_candidate([(False, 0.1, 0.1, 0)]) == -1
    assert palm.select_candidate([(True, 0.3, 0.2, 0), (True, 0.2, 0.3, 5)]) == 0
    assert palm.select_candidate([(True, 0.3, 0.2, 0), (True, 0.2, 0.2, 5)]) == 1
    # Pairs of 1.0 and 1.0 (only policy 5 accepts one) never win.
    assert palm.select_candidate([(True, 1.0, 1.0, 0)]) == -1


def test_an_empty_shard_answers_nobody():
    codes = Codes(3)
    s = palm.GalleryShard(policy=5, workers=1)
    probe = text([(codes.fresh(), codes.fresh())])
    assert s.coarse(probe, 0) == []
    assert s.coarse_fine(probe, 0) == []
    assert s.fine(probe, 0, []) == []
    assert s.fine(probe, 0, ["x"]) == [(False, 1.0, 1.0, -1)]
    assert s.identify(probe) is None
    assert not s.verify("x", probe)


def test_bad_input_is_refused():
    codes = Codes(4)
    s = palm.GalleryShard()
    good = text([(codes.fresh(), codes.fresh())])
    for bad in ["", "not a template", "A" * 2000, "A" * 200000, "ab\0cd" * 300]:
        assert not s.push("u", bad)
        assert s.identify(bad) is None
        assert not s.verify("u", bad)
        with pytest.raises(ValueError):
            s.cells(bad)
        with pytest.raises(ValueError):
            s.coarse(bad, 0)
        with pytest.raises(ValueError):
            s.fine(bad, 0, ["u"])
        with pytest.raises(ValueError):
            s.coarse_fine(bad, 0)
    assert len(s) == 0
    assert not s.push("", good)
    assert not s.delete("") and not s.delete("nobody")
    assert s.push("u", good)
    with pytest.raises(ValueError):
        s.push("a\0b", good)
    for cell in (-1, 1, 2 ** 40):
        with pytest.raises(ValueError):
            s.coarse(good, cell)
        with pytest.raises(ValueError):
            s.fine(good, cell, ["u"])
        with pytest.raises(ValueError):
            s.coarse_fine(good, cell)
    with pytest.raises(TypeError):
        s.push(None, good)
    with pytest.raises(TypeError):
        s.push("u", None)
    with pytest.raises(TypeError):
        s.coarse(None, 0)
    with pytest.raises(TypeError):
        s.coarse(good, "0")
    with pytest.raises(TypeError):
        s.coarse_fine(None, 0)
    with pytest.raises(TypeError):
        s.fine(good, 0, "u")
    with pytest.raises(TypeError):
        s.fine(good, 0, [None])
    with pytest.raises(TypeError):
        s.identify(None)
    with pytest.raises(TypeError):
        s.verify("u", None)
    with pytest.raises(TypeError):
        s.verify(None, good)
    with pytest.raises(TypeError):
        s.delete(None)
    with pytest.raises(TypeError):
        s.set_match_policy("1")
    with pytest.raises(TypeError):
        s.cells(None)
    assert not s.verify("", good) and not s.verify("nobody", good)
    with pytest.raises(TypeError):
        palm.select_candidate([(True, 0.1)])
    with pytest.raises(TypeError):
        palm.select_candidate(None)
    with pytest.raises(ValueError):
        palm.GalleryShard(policy=6)
    with pytest.raises(ValueError):
        palm.GalleryShard(workers=-1)
    with pytest.raises(TypeError):
        palm.GalleryShard(policy="1")
    assert s.users() == ["u"]


def test_threads_search_one_shard_at_once():
    codes = Codes(5)
    s = palm.GalleryShard(workers=2)
    records = {"u%d" % i: [(codes.fresh(), codes.fresh()) for _ in range(5)] for i in range(40)}
    for name, r in records.items():
        assert s.push(name, text(r))
    probes = [(name, text([r[2]])) for name, r in list(records.items())[:8]]
    errors = []

    def run():
        for name, probe in probes:
            if s.identify(probe) != name or not s.coarse(probe, 0):
                errors.append(name)

    threads = [threading.Thread(target=run) for _ in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert errors == []
