"""A gallery of users spread over shards in Dask workers, with the answers of
one parallel partition holding the same users in the same order.

Each shard is a ShardActor in a worker process. The journal (SQLite) is the
truth: a push or delete is committed there before the call returns, and a
shard whose worker died is built again from it on a live or restarted worker.
While a shard is missing, identify and verify raise ShardUnavailable: an
answer from part of the gallery could be a false "unknown".
"""

import asyncio
import logging
import os
import threading
import time
import uuid
import warnings
import zlib

from .. import _palm
from .journal import Journal
from .shard import ShardActor

log = logging.getLogger("palm.cluster")

# The funnel keeps the best 50 of the coarse stage, whatever the partition's size.
FUNNEL_WIDTH = 50
LOAD_BATCH = 256
POLICIES = range(0, 6)


class ShardUnavailable(RuntimeError):
    """A shard of the gallery has no live worker at the moment; it is being
    rebuilt from the journal. `shards` holds the indices of those missing."""

    def __init__(self, shards):
        self.shards = tuple(sorted(shards))
        super().__init__("shard%s %s of the gallery unavailable (being rebuilt)" %
                         ("s" if len(self.shards) > 1 else "", ", ".join(map(str, self.shards))))


class _Shard:
    __slots__ = ("index", "state", "future", "actor", "worker", "pending")

    def __init__(self, index):
        self.index = index
        self.state = "lost"  # live, lost, building
        self.future = None  # the Dask future that keeps the actor alive
        self.actor = None
        self.worker = None
        self.pending = None  # changes made while it is being built


class Gallery:
    """``Gallery(shards=3, journal="gallery.db", policy=1)`` starts a local Dask
    cluster of one worker process per shard on 127.0.0.1;
    ``Gallery(scheduler="tcp://HOST:8786", shards=16, journal=...)`` uses a
    running one. A journal that already holds users is loaded (see `open`).

    `threads` is the number of matching threads of each shard, `timeout` the
    longest wait, in seconds, for a worker, a shard or an answer."""

    def __init__(self, shards=3, journal="gallery.db", policy=None, scheduler=None, *,
                 threads=2, timeout=60.0):
        if isinstance(shards, bool) or not isinstance(shards, int) or shards < 1:
            raise ValueError("shards must be a positive int, got %r" % (shards,))
        if policy is not None and (isinstance(policy, bool) or not isinstance(policy, int)
                                   or policy not in POLICIES):
            raise ValueError("policy must be an int from 0 to 5, got %r" % (policy,))
        self._nshards = shards
        self._threads = int(threads)
        self._timeout = float(timeout)
        self._journal = Journal(journal)
        self._cluster = None
        self._client = None
        self._monitor = None
        self._stop = threading.Event()
        # Held for a change (journal, then shard) so that every shard takes its
        # users in journal order; never held while waiting on anything else.
        self._lock = threading.RLock()
        self._state_lock = threading.Lock()
        self._checker_lock = threading.Lock()
        self._shards = [_Shard(i) for i in range(shards)]
        self._dead_futures = []
        self._suspects = {}  # worker address -> time a call to it failed
        try:
            stored = self._journal.get_meta("policy")
            self._policy = policy if policy is not None else int(stored or 1)
            self._journal.set_meta("policy", self._policy)
            # Judges texts here exactly as the shards would, without a round trip.
            self._checker = _palm.GalleryShard(policy=self._policy, workers=1)
            self._seq = {user: seq for seq, user in self._journal.users()}
            self._connect(scheduler)
            self._client.wait_for_workers(1, timeout=self._timeout)
            workers = sorted(self._client.sync(self._client.scheduler.identity)["workers"])
            errors = []
            builders = [threading.Thread(target=self._build_collecting,
                                         args=(s, workers[s.index % len(workers)], errors))
                        for s in self._shards]
            for b in builders:
                b.start()
            for b in builders:
                b.join()
            if errors:
                raise errors[0]
            self._monitor = threading.Thread(target=self._watch, name="palm-gallery-watch",
                                             daemon=True)
            self._monitor.start()
        except BaseException:
            self.close()
            raise

    @classmethod
    def open(cls, journal, shards=3, scheduler=None, **options):
        """Reopens a gallery from its journal, with the policy stored there."""
        if not os.path.isfile(str(journal)):
            raise FileNotFoundError(str(journal))
        return cls(shards=shards, journal=journal, scheduler=scheduler, **options)

    # -- the interface ----------------------------------------------------

    @property
    def client(self):
        """The distributed.Client in use."""
        return self._client

    @property
    def policy(self):
        return self._policy

    def __len__(self):
        return len(self._seq)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def push(self, user, text):
        """Stores `text` as `user`'s template, in the journal first; False for an
        empty or unusable user name or a malformed text, and nothing stored."""
        if not isinstance(user, str) or not isinstance(text, str):
            raise TypeError("push(user: str, text: str)")
        if not self._usable_user(user) or not self._usable_text(text):
            return False
        with self._lock:
            seq, previous = self._journal.push(user, text)
            shard = self._shards[self._shard_of(user)]
            if not self._apply(shard, "push", user, text):
                self._journal.restore(user, previous)
                return False
            self._seq[user] = seq
        return True

    def delete(self, user):
        """Forgets `user`; False when the gallery does not hold it."""
        if not isinstance(user, str):
            raise TypeError("delete(user: str)")
        with self._lock:
            if user not in self._seq:
                return False
            self._journal.delete(user)
            del self._seq[user]
            self._apply(self._shards[self._shard_of(user)], "delete", user)
        return True

    def identify(self, text):
        """The user that one parallel partition holding the gallery's users in
        the gallery's order would identify, or None."""
        if not isinstance(text, str):
            raise TypeError("identify(text: str)")
        try:
            cells = self._checker.cells(text)
        except ValueError:
            return None
        # The shards as they are now: a shard rebuilt during this identification
        # is not mixed into it, the identification fails instead.
        shards = self._live_shards()
        if not self._seq:
            return None
        select = _palm.select_candidate
        last = float("inf")
        for cell in range(cells):
            parts = self._fan_out([(s, "coarse_fine", (text, cell)) for s in shards])
            order = self._seq
            merged = []
            for part in parts:
                for distance, user, verdict in part:
                    merged.append((distance, order.get(user, last), user, verdict))
            merged.sort(key=lambda m: (m[0], m[1]))
            del merged[FUNNEL_WIDTH:]
            if not merged:
                continue
            index = select([m[3] for m in merged])
            if index >= 0:
                return merged[index][2]
        return None

    def verify(self, user, text):
        """As match_1v1 of `text` against `user`'s template, with the policy."""
        if not isinstance(user, str) or not isinstance(text, str):
            raise TypeError("verify(user: str, text: str)")
        if user not in self._seq or not self._usable_text(text):
            return False
        shard = self._shards[self._shard_of(user)]
        target = self._live_shards([shard])[0]
        return bool(self._fan_out([(target, "verify", (user, text))])[0])

    def close(self):
        """Stops using the cluster (and stops the local one); the journal stays."""
        self._stop.set()
        if self._monitor is not None and self._monitor is not threading.current_thread():
            # It may be waiting on a scheduler that is gone; it stops by itself
            # once that wait ends, having nothing left to use.
            self._monitor.join(timeout=2.0)
        self._monitor = None
        if self._client is not None:
            futures = [s.future for s in self._shards if s.future is not None]
            futures += self._dead_futures
            try:
                # Without a scheduler there is nothing to cancel, and asking waits.
                if futures and self._client.status == "running":
                    self._client.cancel(futures)
            except Exception:  # the cluster may be gone already
                pass
            for s in self._shards:
                s.state, s.future, s.actor = "lost", None, None
            try:
                self._client.close(timeout=min(5.0, self._timeout))
            except Exception:  # a scheduler that is gone cannot say goodbye
                pass
            self._client = None
        if self._cluster is not None:
            self._cluster.close()
            self._cluster = None
        self._journal.close()

    # -- helpers ------------------------------------------------------------

    def _connect(self, scheduler):
        from distributed import Client, LocalCluster

        if scheduler is None:
            with warnings.catch_warnings():
                # The scheduler's HTTP endpoint moves to a free port by itself.
                warnings.filterwarnings("ignore", message="Port .* is already in use")
                self._cluster = LocalCluster(n_workers=self._nshards, threads_per_worker=1,
                                             processes=True, host="127.0.0.1",
                                             dashboard_address=None,
                                             silence_logs=logging.ERROR)
            scheduler = self._cluster
        # Actor calls go straight to the workers, not through the scheduler.
        self._client = Client(scheduler, direct_to_workers=True, timeout=self._timeout,
                              set_as_default=False)

    def _shard_of(self, user):
        return zlib.crc32(user.encode("utf-8")) % self._nshards

    @staticmethod
    def _usable_user(user):
        if not user or "\0" in user:
            return False
        try:
            user.encode("utf-8")
        except UnicodeEncodeError:
            return False
        return True

    def _usable_text(self, text):
        # The scratch shard's push is the shards' own test of a template.
        with self._checker_lock:
            if not self._checker.push("t", text):
                return False
            self._checker.delete("t")
        return True

    def _apply(self, shard, op, *args):
        """One change on its shard, the journal already written. A shard that is
        being built takes it afterwards; a lost one finds it in the journal."""
        with self._state_lock:
            if shard.state == "building" and shard.pending is not None:
                shard.pending.append((op, args))
                return True
            if shard.state != "live":
                return True
            target = (shard, shard.future, shard.actor, shard.worker)
        try:
            return bool(self._fan_out([(target, op, args)])[0])
        except ShardUnavailable:
            return True

    def _live_shards(self, shards=None):
        """(shard, future, actor, worker) of each of `shards` (all by default);
        ShardUnavailable unless every one is live."""
        with self._state_lock:
            shards = self._shards if shards is None else shards
            missing = [s.index for s in shards
                       if s.state != "live" or s.future is None or s.future.status != "finished"]
            if missing:
                raise ShardUnavailable(missing)
            return [(s, s.future, s.actor, s.worker) for s in shards]

    def _mark_lost(self, shard, future, worker=None):
        with self._state_lock:
            if shard.future is not future or shard.state != "live":
                return
            shard.state = "lost"
            shard.future = None
            shard.actor = None
            if worker is not None:
                self._suspects[worker] = time.monotonic()
            self._dead_futures.append(future)
        log.warning("shard %d lost its worker %s; rebuilding it from the journal",
                    shard.index, worker)

    def _fan_out(self, calls):
        """Runs [((shard, future, actor, worker), method, args)] on the actors at
        once; their answers in order. ShardUnavailable when one of them is, or
        goes, missing or replaced."""
        for (s, future, actor, _), _, _ in calls:
            if actor is None or future is None or future.status != "finished":
                raise ShardUnavailable([s.index])
        return self._client.sync(self._gather, calls)

    async def _gather(self, calls):
        targets = [target for target, _, _ in calls]
        tasks = []
        for (shard, future, actor, worker), method, args in calls:
            try:
                pending = getattr(actor, method)(*args)
            except ValueError:  # "Worker holding Actor was lost"
                self._mark_lost(shard, future, worker)
                break
            tasks.append(asyncio.ensure_future(pending._result()))
        if len(tasks) < len(calls):
            for t in tasks:
                t.cancel()
            raise ShardUnavailable([targets[len(tasks)][0].index])
        loop = asyncio.get_running_loop()
        deadline = loop.time() + self._timeout
        waiting = set(tasks)
        while waiting:
            _, waiting = await asyncio.wait(waiting, timeout=0.05)
            gone = [(s, f, w) for s, f, _, w in targets
                    if f.status != "finished" or s.future is not f]
            if not waiting:
                break
            if gone or loop.time() > deadline:
                for t in waiting:
                    t.cancel()
                if not gone:  # no answer in time: treat the silent ones as lost
                    gone = [(s, f, w) for (s, f, _, w), t in zip(targets, tasks) if t in waiting]
                for s, f, w in gone:
                    self._mark_lost(s, f, w)
                raise ShardUnavailable([s.index for s, _, _ in gone])
        answers = []
        failed = []
        for (shard, future, _, worker), task in zip(targets, tasks):
            error = task.exception()
            if error is None:
                answers.append(task.result())
            elif isinstance(error, OSError):  # the worker is unreachable
                self._mark_lost(shard, future, worker)
                failed.append(shard.index)
            else:
                raise error
        if failed:
            raise ShardUnavailable(failed)
        return answers

    def _pick_worker(self, shard):
        identity = self._client.sync(self._client.scheduler.identity)
        now = time.monotonic()
        with self._state_lock:
            for address, since in list(self._suspects.items()):
                if now - since > 10.0:
                    del self._suspects[address]
            workers = [a for a in sorted(identity.get("workers", {})) if a not in self._suspects]
            load = {a: 0 for a in workers}
            for s in self._shards:
                if s is not shard and s.worker in load and s.state != "lost":
                    load[s.worker] += 1
        if not workers:
            return None
        return min(workers, key=lambda a: (load[a], workers.index(a)))

    def _build_collecting(self, shard, worker, errors):
        try:
            if not self._build(shard, worker):
                errors.append(TimeoutError("no Dask worker for shard %d" % shard.index))
        except BaseException as error:  # reported by the constructor
            errors.append(error)

    def _build(self, shard, worker=None):
        """Puts `shard` on a worker (`worker`, or the least busy one) and loads
        it from the journal. False when no worker is there to take it."""
        worker = worker or self._pick_worker(shard)
        if worker is None:
            return False
        future = self._client.submit(ShardActor, self._policy, self._threads,
                                     actor=True, workers=[worker], allow_other_workers=False,
                                     pure=False,
                                     key="palm-shard-%d-%s" % (shard.index, uuid.uuid4().hex))
        try:
            # The actor's proxy attaches itself to the current client.
            with self._client.as_current():
                actor = future.result(timeout=self._timeout)
            with self._lock:
                with self._state_lock:
                    shard.state, shard.pending = "building", []
                    shard.future, shard.actor, shard.worker = future, actor, worker
                snapshot = self._journal.snapshot()
            with snapshot:
                batch = []
                for _, user, text in snapshot:
                    if self._shard_of(user) == shard.index:
                        batch.append((user, text))
                        if len(batch) == LOAD_BATCH:
                            self._load(shard, batch)
                            batch = []
                if batch:
                    self._load(shard, batch)
            with self._lock:
                for op, args in shard.pending:
                    self._call_building(shard, op, *args)
                with self._state_lock:
                    shard.state, shard.pending = "live", None
            log.info("shard %d is on %s", shard.index, worker)
            return True
        except BaseException:
            with self._state_lock:
                if shard.future is future:
                    shard.state, shard.future, shard.actor, shard.pending = "lost", None, None, None
                self._dead_futures.append(future)
            raise

    def _load(self, shard, batch):
        self._call_building(shard, "load", batch)

    def _call_building(self, shard, op, *args):
        # The shard is not live yet, so _live_shards would refuse it.
        target = (shard, shard.future, shard.actor, shard.worker)
        return self._fan_out([(target, op, args)])[0]

    def _watch(self):
        while not self._stop.wait(0.1):
            try:
                for s in self._shards:
                    future = s.future
                    if s.state == "live" and future is not None and future.status != "finished":
                        self._mark_lost(s, future, s.worker)
                with self._state_lock:
                    dead, self._dead_futures = self._dead_futures, []
                if dead:
                    self._client.cancel(dead)
                for s in self._shards:
                    if self._stop.is_set():
                        return
                    if s.state == "lost":
                        self._build(s)
            except Exception as error:  # tried again on the next round
                if not self._stop.is_set():
                    log.warning("gallery rebuild: %s", error)
                    self._stop.wait(0.5)
