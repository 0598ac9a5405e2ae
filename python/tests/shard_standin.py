"""A pure-Python shard with the GalleryShard interface, for the gallery's own
logic: a small funnel over palm.match with made-up limits. Used until the
module carries the real one."""

import palm

unpack_feature = palm.unpack_feature
LIMITS = [(0.30 + 0.01 * p, 0.35 + 0.01 * p) for p in range(6)]


def _stride_coarse(probe, cells):
    t = len(cells)
    step = 5 if t > 9 and t % 5 == 0 else 1
    best, cell = 1.0, 0
    for k in range(0, t, step):
        e = palm.match(probe, cells[k][0])
        if best > e:
            best, cell = e, k
    return best, cell


def select_candidate(results):
    best, index = 2.0, -1
    for i, (accepted, p, v, _) in enumerate(results):
        if accepted:
            q = p * p + v * v
            if q < best:
                best, index = q, i
    return index


class GalleryShard:
    def __init__(self, policy=1, workers=2):
        self.policy = policy
        self._users = []
        self._templates = {}

    def push(self, user, text):
        if not isinstance(user, str) or not isinstance(text, str):
            raise TypeError("push(user, text)")
        if not user:
            return False
        try:
            cells = unpack_feature(text)
        except ValueError:
            return False
        if user not in self._templates:
            self._users.append(user)
        self._templates[user] = cells
        return True

    def delete(self, user):
        if user not in self._templates:
            return False
        del self._templates[user]
        self._users.remove(user)
        return True

    def __len__(self):
        return len(self._users)

    def users(self):
        return list(self._users)

    def memory_bytes(self):
        return sum(768 * len(c) for c in self._templates.values())

    def cells(self, text):
        return len(unpack_feature(text))

    def coarse(self, text, cell):
        probe = unpack_feature(text)[cell][0]
        out = [(_stride_coarse(probe, self._templates[u])[0], i, u)
               for i, u in enumerate(self._users)]
        out.sort(key=lambda r: (r[0], r[1]))
        return out[:50]

    def fine(self, text, cell, users):
        probe = unpack_feature(text)[cell]
        limit_p, limit_v = LIMITS[self.policy]
        out = []
        for u in users:
            cells = self._templates[u]
            d, best = _stride_coarse(probe[0], cells)
            t = len(cells)
            if t > 9 and t % 5 == 0:
                for b in range(0, t, 5):
                    for c in range(b + 1, b + 5):
                        e = palm.match(probe[0], cells[c][0])
                        if e < d:
                            d, best = e, c
            v = palm.match(probe[1], cells[best][1])
            out.append((d < limit_p and v < limit_v, d, v, best))
        return out

    def verify(self, user, text):
        limit_p, limit_v = LIMITS[self.policy]
        cells = self._templates.get(user)
        if cells is None:
            return False
        try:
            probe = unpack_feature(text)
        except ValueError:
            return False
        for p, v in probe:
            for tp, tv in cells:
                if palm.match(p, tp) < limit_p and palm.match(v, tv) < limit_v:
                    return True
        return False

    def identify(self, text):
        for cell in range(self.cells(text)):
            merged = self.coarse(text, cell)
            results = self.fine(text, cell, [u for _, _, u in merged])
            index = select_candidate(results)
            if index >= 0:
                return merged[index][2]
        return None
