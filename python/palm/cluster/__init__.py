"""A gallery of users sharded over Dask workers, answering as one parallel
partition would:

    from palm.cluster import Gallery, ShardUnavailable
    g = Gallery(shards=3, journal="gallery.db", policy=1)  # a local cluster
    g.push("alice", text); g.identify(probe); g.verify("alice", probe)
    g.close(); g = Gallery.open("gallery.db", shards=3)
"""

from .gallery import Gallery, ShardUnavailable

__all__ = ["Gallery", "ShardUnavailable"]
