"""The part of a gallery that lives in a Dask worker: an actor holding one
shard (a GalleryShard: one environment and one parallel partition)."""

from .. import _palm


class ShardActor:
    """Created by the gallery with ``client.submit(ShardActor, ..., actor=True)``.
    Dask runs the methods of a worker's actors one at a time on its actor
    thread; the shard itself matches on threads of its own."""

    def __init__(self, policy, threads):
        self._shard = _palm.GalleryShard(policy=policy, workers=threads)

    def load(self, entries):
        """Pushes [(user, text)] in order; the number the shard took. Used to
        (re)build the shard from the journal in batches."""
        push = self._shard.push
        return sum(1 for user, text in entries if push(user, text))

    def push(self, user, text):
        return self._shard.push(user, text)

    def delete(self, user):
        return self._shard.delete(user)

    def size(self):
        return len(self._shard)

    def users(self):
        return self._shard.users()

    def memory_bytes(self):
        return self._shard.memory_bytes()

    def coarse(self, text, cell):
        return self._shard.coarse(text, cell)

    def fine(self, text, cell, users):
        return self._shard.fine(text, cell, users)

    def coarse_fine(self, text, cell):
        """The coarse list of one probe cell, each entry with its user's verdict
        of the fine and verify stages: [(distance, user, verdict)]. A verdict
        depends on nothing but the probe and that user's template, so those of
        the users the gallery keeps after merging are the ones it would have
        asked for, and an identification needs one round trip per cell, not
        two. The fine stage of 50 users costs a small part of a round trip."""
        coarse = self._shard.coarse(text, cell)
        users = [user for _, _, user in coarse]
        verdicts = self._shard.fine(text, cell, users)
        return [(c[0], user, v) for c, user, v in zip(coarse, users, verdicts)]

    def verify(self, user, text):
        return self._shard.verify(user, text)
