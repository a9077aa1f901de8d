#!/usr/bin/env python3
"""An independent model of what BKUnzipFile produces, written from the extractor's rules rather
than from its code, used to fill and check the corpus table of tst_unzip_corpus.

    reference_unzip.py ARCHIVE...          prints one table row per archive
    reference_unzip.py --list ARCHIVE      prints every output file with its size and CRC-32

The row's digest is the first 16 hex digits of the SHA-256 of the sorted lines
"relative/path<TAB>size<TAB>crc32 as 8 lower-case hex digits<LF>", one per file produced;
folders are counted apart. The model follows the extractor's rules and its safety rules (skip
entries whose bytes overlap an earlier entry's, skip names with NUL bytes, stop a streamed
entry at its declared size); it does not model the free-space floor.
"""
import bisect
import hashlib
import struct
import sys
import zlib

ONE_PIECE = 524288
PATH_MAX = 4096


def decode(raw):
    try:
        return raw.decode("utf-8")  # Python's decoder is strict: no surrogates, no overlongs
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def extract(data, dest_len=40):
    """Returns (ok, files, folders): files maps a path to (size, crc), folders is a set."""
    if len(data) < 22:
        return False, {}, set()
    pos = data.rfind(b"PK\x05\x06", 0, len(data) - 22 + 4)
    if pos < 0:
        return False, {}, set()
    count, = struct.unpack_from("<H", data, pos + 8)
    walk, = struct.unpack_from("<I", data, pos + 16)
    files, folders, taken = {}, set(), []
    for _ in range(count):
        if walk + 46 > len(data) or data[walk:walk + 4] != b"PK\x01\x02":
            break
        method, = struct.unpack_from("<H", data, walk + 10)
        csize, usize = struct.unpack_from("<II", data, walk + 20)
        n, m, k = struct.unpack_from("<HHH", data, walk + 28)
        local, = struct.unpack_from("<I", data, walk + 42)
        walk += 46
        if walk + n > len(data):
            break
        name = decode(data[walk:walk + n])
        walk += n + m + k
        if name.endswith("/") or name.endswith("\\") or ".." in name or "\0" in name:
            continue
        if local + 30 > len(data) or data[local:local + 4] != b"PK\x03\x04":
            continue
        ln, lm = struct.unpack_from("<HH", data, local + 26)
        start = local + 30 + ln + lm
        if start + csize > len(data):
            continue
        end = start + csize
        i = bisect.bisect_left(taken, (local, 0))
        if (i < len(taken) and taken[i][0] < end) or (i > 0 and taken[i - 1][1] > local):
            continue
        taken.insert(i, (local, end))
        parts = [p for p in name.split("/") if p]
        if not parts:
            continue
        leaf = parts[-1]
        dirs = [p for p in parts[:-1] if p != "."]
        if dest_len + 1 + sum(len(p.encode()) + 1 for p in dirs) + len(leaf.encode()) >= PATH_MAX:
            continue
        # A folder cannot be created where a file was written, nor a file where a folder is.
        blocked = False
        for i in range(1, len(dirs) + 1):
            prefix = "/".join(dirs[:i])
            if prefix in files:
                blocked = True
                break
            folders.add(prefix)
        if blocked or leaf == ".":
            continue
        path = "/".join(dirs + [leaf])
        if path in folders:
            continue
        payload = data[start:end]
        if method == 0:
            out = payload
        elif method == 8:
            if usize <= ONE_PIECE:
                d = zlib.decompressobj(-15)
                try:
                    out = d.decompress(payload, usize + 1)
                except zlib.error:
                    continue
                if not d.eof or len(out) > usize:
                    continue
            else:
                out = stream(payload, usize)
                if out is None:
                    continue
        else:
            continue
        files[path] = (len(out), zlib.crc32(out))
    return True, files, folders


def stream(payload, usize):
    d = zlib.decompressobj(-15)
    out = bytearray()
    try:
        for i in range(0, len(payload), 65536):
            out += d.decompress(payload[i:i + 65536], usize + 1 - len(out))
            if len(out) > usize:
                return None
            if d.eof:
                break
            while d.unconsumed_tail:
                out += d.decompress(d.unconsumed_tail, usize + 1 - len(out))
                if len(out) > usize:
                    return None
    except zlib.error:
        return None
    return bytes(out)  # complete or truncated: what was produced stands


def digest(files):
    lines = "".join(f"{p}\t{s}\t{c:08x}\n" for p, (s, c) in sorted(files.items()))
    return hashlib.sha256(lines.encode()).hexdigest()[:16]


def main(argv):
    if argv and argv[0] == "--list":
        ok, files, folders = extract(open(argv[1], "rb").read())
        print("result", ok)
        for p in sorted(folders):
            print("folder", p)
        for p, (s, c) in sorted(files.items()):
            print(f"{p}\t{s}\t{c:08x}")
        return
    for path in argv:
        ok, files, folders = extract(open(path, "rb").read())
        name = path.rsplit("/", 1)[-1]
        total = sum(s for s, _ in files.values())
        print(f'{{"{name}", {str(ok).lower()}, {len(files)}, {len(folders)}, {total}, "{digest(files)}"}},')


if __name__ == "__main__":
    main(sys.argv[1:])
