#!/usr/bin/env python3
"""Property-list files as another tool writes them, for the store's tests.

plist_files.py make FOLDER   writes the files: read-*.plist must read, refused-*.plist must not
plist_files.py limit FILE N  writes a binary (or, with N negative, XML) file of exactly |N| bytes

Imported, make() writes the same files and canonical() lets two readings of a file be compared.
"""
import datetime
import plistlib
import sys

BIN, XML = plistlib.FMT_BINARY, plistlib.FMT_XML


def nested(depth):
    """Arrays and dictionaries alternating, `depth` containers deep."""
    value = "bottom"
    for level in range(depth):
        value = [value] if level % 2 else {"k": value}
    return value


def files():
    texts = {"nul": "x\0y", "unicode": "é\0ü😀", "empty": "", "control": "\x01\x1f\x7f"}
    numbers = {"zero": 0, "byte": 255, "word": 256, "neg": -1, "min": -2**63,
               "max": 2**63 - 1, "umax": 2**64 - 1, "wide": 2**32 + 5}
    reals = {"half": 2.5, "negzero": -0.0, "huge": 1e300, "inf": float("inf"), "tiny": 5e-324}
    dates = {"then": datetime.datetime(2020, 5, 17, 12, 34, 56, 789012),
             "old": datetime.datetime(1900, 1, 1, 0, 0, 0, 1)}
    kinds = {"t": True, "f": False, "data": b"\0\1\xff", "nodata": b"", "list": [1, "a", []],
             "dict": {"in\0ner": {}}, **reals, **dates}
    yield "read-text-nul", BIN, texts
    yield "read-key-nul", BIN, {"k\0ey": 1, "é\0": "v"}
    yield "read-numbers", BIN, numbers
    yield "read-numbers", XML, numbers
    yield "read-kinds", BIN, kinds
    yield "read-kinds-xml", XML, {k: v for k, v in kinds.items() if k != "dict"}
    yield "read-nested-128", BIN, {"a": nested(128), "b": [nested(127)]}
    yield "read-nested-128", XML, {"a": nested(128)}
    yield "refused-nested-129", BIN, {"a": nested(129)}
    yield "refused-nested-129", XML, {"a": nested(129)}


def make(folder):
    for name, fmt, value in files():
        suffix = "-bin" if fmt == BIN else "-xml"
        data = plistlib.dumps(value, fmt=fmt, sort_keys=False)
        with open(f"{folder}/{name}{suffix}.plist", "wb") as out:
            out.write(data)
        if fmt == XML and name.startswith("read"):
            with open(f"{folder}/{name}-bom8.plist", "wb") as out:
                out.write(b"\xef\xbb\xbf" + data)
            with open(f"{folder}/{name}-bom16.plist", "wb") as out:
                out.write(data.decode().replace('"UTF-8"', '"UTF-16"').encode("utf-16"))


def canonical(value):
    """The value with its kinds spelled out: True is not 1, -0.0 is not 0.0, key order is free."""
    if isinstance(value, dict):
        return ("dict", sorted((k, canonical(v)) for k, v in value.items()))
    if isinstance(value, list):
        return ("list", [canonical(v) for v in value])
    if isinstance(value, float):
        return ("float", value.hex())
    return (type(value).__name__, value)


def limit(path, size):
    fmt = BIN if size > 0 else XML
    size = abs(size)
    pad = size
    while True:
        value = {"pad": b"x" * pad} if fmt == BIN else {"pad": "x" * pad}
        data = plistlib.dumps(value, fmt=fmt)
        if len(data) == size:
            break
        pad += size - len(data)
        if pad < 0:
            return 1
    with open(path, "wb") as out:
        out.write(data)
    return 0


if __name__ == "__main__":
    verb = sys.argv[1]
    if verb == "make":
        make(sys.argv[2])
        sys.exit(0)
    if verb == "limit":
        sys.exit(limit(sys.argv[2], int(sys.argv[3])))
    sys.exit(2)
