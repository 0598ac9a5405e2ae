"""The gallery's journal: order numbers, durability settings, snapshots."""

import sqlite3

import pytest


@pytest.fixture
def journal(tmp_path):
    from palm.cluster.journal import Journal

    j = Journal(tmp_path / "gallery.db")
    yield j
    j.close()


def test_a_user_keeps_its_number_when_pushed_again_and_loses_it_when_deleted(journal):
    assert journal.push("a", "t1") == (1, None)
    assert journal.push("b", "t2") == (2, None)
    assert journal.push("a", "t3") == (1, "t1")
    assert journal.users() == [(1, "a"), (2, "b")]
    assert journal.delete("a")
    assert not journal.delete("a")
    # Never handed out twice, even when the highest number was deleted.
    assert journal.delete("b")
    assert journal.push("a", "t4") == (3, None)
    assert journal.users() == [(3, "a")]
    assert len(journal) == 1


def test_restore_undoes_a_push(journal):
    seq, previous = journal.push("a", "t1")
    journal.restore("a", previous)
    assert journal.users() == []
    journal.push("a", "t1")
    _, previous = journal.push("a", "t2")
    journal.restore("a", previous)
    assert [row[2] for row in journal.snapshot()] == ["t1"]


def test_the_file_is_write_ahead_logged_with_full_synchronous_writes(journal, tmp_path):
    db = sqlite3.connect(str(tmp_path / "gallery.db"))
    assert db.execute("PRAGMA journal_mode").fetchone()[0] == "wal"
    db.close()
    # synchronous is per connection: 2 is FULL.
    assert journal._db.execute("PRAGMA synchronous").fetchone()[0] == 2


def test_a_snapshot_does_not_see_later_changes(journal):
    journal.push("a", "t1")
    journal.push("b", "t2")
    with journal.snapshot() as snapshot:
        journal.push("c", "t3")
        journal.delete("a")
        assert [(s, u) for s, u, _ in snapshot] == [(1, "a"), (2, "b")]
    assert journal.users() == [(2, "b"), (3, "c")]


def test_a_reopened_journal_holds_what_was_committed(tmp_path):
    from palm.cluster.journal import Journal

    j = Journal(tmp_path / "g.db")
    j.push("ä", "t1")
    j.set_meta("policy", 3)
    j.close()
    j = Journal(tmp_path / "g.db")
    assert j.users() == [(1, "ä")]
    assert j.get_meta("policy") == "3"
    assert j.get_meta("missing", "x") == "x"
    j.close()


def test_a_file_that_is_no_database_is_refused(tmp_path):
    from palm.cluster.journal import Journal

    path = tmp_path / "junk.db"
    path.write_bytes(b"not a database at all" * 100)
    with pytest.raises(sqlite3.DatabaseError):
        Journal(path)
