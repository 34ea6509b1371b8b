#!/usr/bin/env python3
"""Makes the data of the findkey workload once, before any timing; called by bench/run.

Usage: makedata.py WORKDIR

Writes WORKDIR/data/people.dbf, an xBase table of 100,000 records (KEY, NAME, CITY),
and WORKDIR/php/people.sqlite with the same rows and an index on key. The engine's
index is made afterwards by the engine itself (bench/setup/makeindex.sn), so that the
file is the engine's own.
"""
import os, sqlite3, struct, sys

COUNT = 100000
FIELDS = [(b"KEY", 8), (b"NAME", 20), (b"CITY", 20)]


def row(i):
    return ("k%06d" % i, "Person %d" % i, "City %d" % (i % 100))


def write_table(path):
    reclen = 1 + sum(length for _, length in FIELDS)
    hdrlen = 32 + 32 * len(FIELDS) + 1
    with open(path, "wb") as f:
        f.write(bytes([0x03, 126, 1, 1]) + struct.pack("<IHH", COUNT, hdrlen, reclen) + bytes(20))
        for name, length in FIELDS:
            f.write(name.ljust(11, b"\0") + b"C" + bytes(4) + bytes([length, 0]) + bytes(14))
        f.write(b"\r")
        for i in range(1, COUNT + 1):
            values = row(i)
            f.write(b" " + b"".join(v.encode().ljust(length)[:length]
                                    for v, (_, length) in zip(values, FIELDS)))
        f.write(b"\x1a")


def write_sqlite(path):
    if os.path.exists(path):
        os.unlink(path)
    db = sqlite3.connect(path)
    db.execute("CREATE TABLE people (key TEXT, name TEXT, city TEXT)")
    db.executemany("INSERT INTO people VALUES (?, ?, ?)", (row(i) for i in range(1, COUNT + 1)))
    db.execute("CREATE UNIQUE INDEX people_key ON people (key)")
    db.commit()
    db.close()


work = sys.argv[1]
write_table(os.path.join(work, "data", "people.dbf"))
write_sqlite(os.path.join(work, "php", "people.sqlite"))
