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

    def coarse_fine(self, text, cell):
        """[(distance, user, verdict)] of one probe cell: the coarse list with
        each user's verdict of the fine and verify stages, one round trip."""
        return self._shard.coarse_fine(text, cell)

    def verify(self, user, text):
        return self._shard.verify(user, text)
