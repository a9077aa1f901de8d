#!/usr/bin/env python3
"""Prints tst_unzip_corpus's row for each archive given: what BKUnzipFile should leave, modelled
from the extractor's rules rather than its code. The digest covers the sorted lines
"path<TAB>size<TAB>%08x crc32<LF>", one per file. The free-space floor is not modelled."""
import bisect
import hashlib
import itertools
import struct
import sys
import zlib

ONE_PIECE, PATH_MAX = 524288, 4096


def decode(raw):
    try:
        return raw.decode("utf-8")  # strict: no surrogates, no overlongs
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def inflate(payload, usize):
    """(size, crc) of what stays on disk, or None when no file does."""
    d, size, crc = zlib.decompressobj(-15), 0, 0
    try:
        chunk = d.decompress(payload, 1 << 16)
        while chunk:
            size, crc = size + len(chunk), zlib.crc32(chunk, crc)
            if size > usize:
                return None
            chunk = b"" if d.eof else d.decompress(d.unconsumed_tail, 1 << 16)
    except zlib.error:
        return None
    if usize <= ONE_PIECE and not d.eof:
        return None  # a truncated one-piece entry leaves nothing; a truncated stream keeps its output
    return size, crc


def extract(data, dest_len=40):
    """(ok, files, folders): files maps a path to (size, crc), folders is a set."""
    if len(data) < 22 or (pos := data.rfind(b"PK\x05\x06", 0, len(data) - 18)) < 0:
        return False, {}, set()
    count, = struct.unpack_from("<H", data, pos + 8)
    walk, = struct.unpack_from("<I", data, pos + 16)
    files, folders, taken = {}, set(), []
    for _ in range(count):
        if walk + 46 > len(data) or data[walk:walk + 4] != b"PK\x01\x02":
            break
        method, csize, usize, n, m, k = struct.unpack_from("<H8xIIHHH", data, walk + 10)
        local, = struct.unpack_from("<I", data, walk + 42)
        walk += 46
        if walk + n > len(data):
            break
        name = decode(data[walk:walk + n])
        walk += n + m + k
        if name.endswith(("/", "\\")) or ".." in name or "\0" in name:
            continue
        if local + 30 > len(data) or data[local:local + 4] != b"PK\x03\x04":
            continue
        ln, lm = struct.unpack_from("<HH", data, local + 26)
        start = local + 30 + ln + lm
        end = start + csize
        if end > len(data):
            continue
        i = bisect.bisect_left(taken, (local, 0))
        if (i < len(taken) and taken[i][0] < end) or (i > 0 and taken[i - 1][1] > local):
            continue
        taken.insert(i, (local, end))
        parts = [p for p in name.split("/") if p]
        if not parts:
            continue
        leaf, dirs = parts[-1], [p for p in parts[:-1] if p != "."]
        if dest_len + 1 + sum(len(p.encode()) + 1 for p in dirs) + len(leaf.encode()) >= PATH_MAX:
            continue
        # A folder cannot be made where a file was written, nor a file where a folder is.
        prefixes = ["/".join(dirs[:i]) for i in range(1, len(dirs) + 1)]
        made = list(itertools.takewhile(lambda p: p not in files, prefixes))
        folders.update(made)
        path = "/".join(dirs + [leaf])
        if len(made) < len(prefixes) or leaf == "." or path in folders:
            continue
        payload = data[start:end]
        if method == 0:
            files[path] = (len(payload), zlib.crc32(payload))
        elif method == 8 and (out := inflate(payload, usize)):
            files[path] = out
    return True, files, folders


for archive in sys.argv[1:]:
    ok, files, folders = extract(open(archive, "rb").read())
    lines = "".join(f"{p}\t{s}\t{c:08x}\n" for p, (s, c) in sorted(files.items()))
    print(f'{{"{archive.rsplit("/", 1)[-1]}", {str(ok).lower()}, {len(files)}, {len(folders)}, '
          f'{sum(s for s, _ in files.values())}, "{hashlib.sha256(lines.encode()).hexdigest()[:16]}"}},')
