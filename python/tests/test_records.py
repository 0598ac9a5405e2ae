"""Records, their stream form and feature text, against the C++ tool."""

import re
import struct

import pytest

import palm
from conftest import run_tool

CODE = palm.FEATURE_DATA_SIZE


def cell(seed):
    return (bytes((seed + i) % 256 for i in range(CODE)),
            bytes((seed * 7 + 3 * i) % 256 for i in range(CODE)))


def test_a_record_stream_is_the_count_then_print_and_vein_of_each_cell():
    cells = [cell(1), cell(2)]
    data = palm.write_record(cells)
    assert len(data) == 4 + 768 * 2
    assert struct.unpack("<i", data[:4])[0] == 2
    assert data[4:4 + CODE] == cells[0][0]
    assert data[4 + CODE:4 + 2 * CODE] == cells[0][1]
    assert palm.read_record(data) == cells


def test_an_empty_record_is_written_but_not_read_back():
    data = palm.write_record([])
    assert data == b"\0\0\0\0"
    with pytest.raises(ValueError, match="cell count 0 is outside 1 to 1024"):
        palm.read_record(data)


def test_read_record_accepts_1024_cells_and_refuses_1025():
    big = struct.pack("<i", 1024) + bytes(768 * 1024)
    assert len(palm.read_record(big)) == 1024
    with pytest.raises(ValueError, match="cell count 1025"):
        palm.read_record(struct.pack("<i", 1025) + bytes(768 * 1025))
    with pytest.raises(ValueError, match="cell count -1"):
        palm.read_record(struct.pack("<i", -1) + bytes(768))


def test_read_record_refuses_a_stream_shorter_than_its_count():
    data = palm.write_record([cell(1), cell(2)])
    with pytest.raises(ValueError, match="holds 1540 bytes, a record of 3 cells needs 2308"):
        palm.read_record(struct.pack("<i", 3) + data[4:])
    with pytest.raises(ValueError, match="shorter than the 4-byte cell count"):
        palm.read_record(b"\1\0")
    with pytest.raises(ValueError):
        palm.read_record(b"")


def test_read_record_ignores_bytes_after_the_last_cell():
    data = palm.write_record([cell(5)])
    assert palm.read_record(data + b"tail") == [cell(5)]


def test_crypt_feature_of_one_cell_is_1032_characters_and_unpacks_to_the_same_cells():
    text, digest = palm.crypt_feature([cell(9)])
    assert len(text) == 1032 and text.endswith("==")
    assert re.fullmatch("[0-9a-f]{32}", digest)
    assert palm.unpack_feature(text) == [cell(9)]


def test_crypt_feature_of_an_empty_record_is_refused():
    with pytest.raises(ValueError, match="at least one cell"):
        palm.crypt_feature([])


def test_unpack_feature_refuses_what_the_decoder_refuses():
    text, _ = palm.crypt_feature([cell(3)])
    with pytest.raises(ValueError, match="not a feature text"):
        palm.unpack_feature(text[:896])  # well formed, but under 900 characters
    with pytest.raises(ValueError, match="not a feature text"):
        palm.unpack_feature(text[:-4])  # a multiple of 4 that promises more than it holds
    with pytest.raises(ValueError, match="not a feature text"):
        palm.unpack_feature(text[:-1])  # not a multiple of 4


def test_unpack_feature_takes_characters_outside_the_alphabet_as_the_decoder_does():
    text, _ = palm.crypt_feature([cell(3)])
    damaged = text[:500] + "*" + text[501:]
    cells = palm.unpack_feature(damaged)
    assert len(cells) == 1 and cells != [cell(3)]


def test_a_text_longer_than_any_template_is_a_value_error():
    with pytest.raises(ValueError, match="at most 136532"):
        palm.unpack_feature("A" * (palm.MAX_FEATURE_TEXT_LENGTH + 4))


def test_crypt_feature_gives_the_tool_text_and_digest(tmp_path):
    cells = [cell(1), cell(200)]
    files = []
    for k, (p, v) in enumerate(cells):
        for name, code in (("p", p), ("v", v)):
            path = tmp_path / ("%s%d.bin" % (name, k))
            path.write_bytes(code)
            files.append(path)
    out = run_tool("text", "encode", *files).stdout.split("\n")
    assert palm.crypt_feature(cells) == (out[0], out[1])


def test_read_record_reads_what_the_tool_decodes(tmp_path):
    text, _ = palm.crypt_feature([cell(4), cell(8), cell(16)])
    (tmp_path / "t.txt").write_text(text)
    run_tool("text", "decode", tmp_path / "t.txt", tmp_path / "r.bin")
    assert palm.read_record((tmp_path / "r.bin").read_bytes()) == [cell(4), cell(8), cell(16)]


@pytest.mark.parametrize("cells, error", [
    (None, TypeError),
    ("text", TypeError),
    (b"bytes", TypeError),
    ([b"x" * CODE], TypeError),
    ([(b"x" * CODE,)], ValueError),
    ([(b"x" * CODE, b"x" * 383)], ValueError),
    ([(b"x" * CODE, None)], TypeError),
    ([(b"x" * CODE, "x" * CODE)], TypeError),
])
def test_bad_cells_are_refused(cells, error):
    for f in (palm.write_record, palm.crypt_feature):
        with pytest.raises(error):
            f(cells)


@pytest.mark.parametrize("value, error", [(None, TypeError), (42, TypeError),
                                          ("A\0" * 600, ValueError)])
def test_bad_texts_are_refused(value, error):
    with pytest.raises(error):
        palm.unpack_feature(value)
    with pytest.raises(TypeError):
        palm.read_record(None)
