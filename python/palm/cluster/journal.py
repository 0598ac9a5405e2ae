"""The gallery's journal: a SQLite file that holds every user's latest
template and its sequence number, written before a push or delete returns.

The sequence number is the order in which the gallery took the user: it is
given at the first push, kept by a re-push, dropped by a delete, and never
handed out twice (AUTOINCREMENT), so that a user pushed again after a delete
goes behind everybody, as it would in one partition.
"""

import sqlite3
import threading

SCHEMA = """
CREATE TABLE IF NOT EXISTS templates (
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    user TEXT NOT NULL UNIQUE,
    text TEXT NOT NULL
);
CREATE TABLE IF NOT EXISTS meta (
    key TEXT PRIMARY KEY,
    value TEXT NOT NULL
);
"""


class Journal:
    """One connection, used under one lock: every change is its own committed
    transaction with synchronous=FULL, so it is on disk when the call returns."""

    def __init__(self, path):
        self.path = str(path)
        # Autocommit mode: transactions are opened and closed here explicitly.
        self._db = sqlite3.connect(self.path, isolation_level=None, check_same_thread=False)
        self._lock = threading.Lock()
        mode = self._db.execute("PRAGMA journal_mode=WAL").fetchone()[0]
        if mode.lower() != "wal":
            self._db.close()
            raise OSError("%s: the journal needs write-ahead logging (got %s)" % (self.path, mode))
        self._db.execute("PRAGMA synchronous=FULL")
        self._db.executescript(SCHEMA)

    def close(self):
        with self._lock:
            if self._db is not None:
                self._db.close()
                self._db = None

    def get_meta(self, key, default=None):
        with self._lock:
            row = self._db.execute("SELECT value FROM meta WHERE key = ?", (key,)).fetchone()
        return default if row is None else row[0]

    def set_meta(self, key, value):
        with self._lock:
            self._db.execute("INSERT INTO meta(key, value) VALUES (?, ?) "
                             "ON CONFLICT(key) DO UPDATE SET value = excluded.value",
                             (key, str(value)))

    def push(self, user, text):
        """Stores `text` as `user`'s template; returns (seq, previous text or
        None). A known user keeps its sequence number."""
        with self._lock:
            db = self._db
            db.execute("BEGIN IMMEDIATE")
            try:
                row = db.execute("SELECT seq, text FROM templates WHERE user = ?",
                                 (user,)).fetchone()
                if row is None:
                    seq = db.execute("INSERT INTO templates(user, text) VALUES (?, ?)",
                                     (user, text)).lastrowid
                    previous = None
                else:
                    seq, previous = row
                    db.execute("UPDATE templates SET text = ? WHERE seq = ?", (text, seq))
                db.execute("COMMIT")
            except BaseException:
                db.execute("ROLLBACK")
                raise
        return seq, previous

    def push_many(self, entries):
        """Pushes [(user, text)] in order, in one transaction: a bulk import."""
        with self._lock:
            db = self._db
            db.execute("BEGIN IMMEDIATE")
            try:
                db.executemany("INSERT INTO templates(user, text) VALUES (?, ?) "
                               "ON CONFLICT(user) DO UPDATE SET text = excluded.text", entries)
                db.execute("COMMIT")
            except BaseException:
                db.execute("ROLLBACK")
                raise

    def restore(self, user, previous):
        """Undoes a push whose shard refused it: back to `previous`, or gone."""
        with self._lock:
            if previous is None:
                self._db.execute("DELETE FROM templates WHERE user = ?", (user,))
            else:
                self._db.execute("UPDATE templates SET text = ? WHERE user = ?", (previous, user))

    def delete(self, user):
        """Forgets `user`; True when it was there."""
        with self._lock:
            return self._db.execute("DELETE FROM templates WHERE user = ?",
                                    (user,)).rowcount > 0

    def users(self):
        """[(seq, user)] in sequence order."""
        with self._lock:
            return self._db.execute("SELECT seq, user FROM templates ORDER BY seq").fetchall()

    def __len__(self):
        with self._lock:
            return self._db.execute("SELECT COUNT(*) FROM templates").fetchone()[0]

    def snapshot(self):
        """A cursor over (seq, user, text) in sequence order, on a connection of
        its own inside one read transaction: it sees the journal as it stood
        when this returned, whatever is written meanwhile. Close it when done."""
        return Snapshot(self.path)


class Snapshot:
    def __init__(self, path):
        self._db = sqlite3.connect(path, isolation_level=None, check_same_thread=False)
        self._db.execute("BEGIN")
        # The read transaction takes its snapshot at the first read.
        self._rows = self._db.execute("SELECT seq, user, text FROM templates ORDER BY seq")
        self._first = self._rows.fetchone()

    def __iter__(self):
        if self._first is not None:
            yield self._first
            for row in self._rows:
                yield row

    def close(self):
        if self._db is not None:
            self._db.execute("COMMIT")
            self._db.close()
            self._db = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
