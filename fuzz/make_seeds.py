#!/usr/bin/env python3
"""Writes the small seed corpora of the fuzz targets (run once; its output is
committed). Records are a 32-bit little-endian cell count followed by 768
bytes per cell; feature texts are their standard Base64."""
import base64
import os
import random
import struct

here = os.path.dirname(os.path.abspath(__file__))
rng = random.Random(4)


def record(cells, count=None):
    body = bytes(rng.getrandbits(8) for _ in range(768 * cells))
    return struct.pack("<i", cells if count is None else count) + body


def write(target, name, data):
    path = os.path.join(here, "corpus", target, name)
    with open(path, "wb") as f:
        f.write(data)


one, two = record(1), record(2)
streams = {
    "one_cell": one,
    "two_cells": two,
    "truncated": one[:500],
    "count_zero": record(0),
    "count_negative": record(1, count=-1),
    "count_above_limit": struct.pack("<i", 1025),
    "trailing_bytes": one + b"\x01\x02\x03",
}
for name, data in streams.items():
    write("user_palm_feature_read", name, data)

texts = {
    "one_cell": base64.b64encode(one),
    "two_cells": base64.b64encode(two),
    "one_padding": base64.b64encode(one + b"\x07\x08"),
    "two_padding": base64.b64encode(one + b"\x07"),
    "outside_alphabet": b"!!!!" + base64.b64encode(one)[4:],
    "too_short": base64.b64encode(one)[:896],
    "count_zero": base64.b64encode(record(0) + bytes(768)),
}
for name, data in texts.items():
    write("unpack_feature", name, data)
