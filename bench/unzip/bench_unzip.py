#!/usr/bin/env python3
"""Extraction speed of brisko-unzip against bsdtar -xf and unzip -o -q, in the same run.

    bench/unzip/bench_unzip.py [--tool PATH] [--runs N] [--work DIR]

Makes three archives with the system's zip (default level): 2,000 text files of 1-50 KiB;
20 files of 20 MiB, mixed text and binary; one 500 MiB log. Each tool extracts each archive into
a fresh folder on a tmpfs (/dev/shm), the tools taking turns in a rotating order, N runs each
(default 7). Prints the median wall time, MB/s of output (10^6 bytes per second), ours/peer
ratios, and each tool's peak resident memory (through /usr/bin/time, package "time").
"""
import argparse
import os
import random
import shutil
import statistics
import subprocess
import sys
import time

MiB = 1 << 20
WORDS = ("request served user session cache miss hit backend latency token upload "
         "download retry timeout worker queue commit rollback index shard replica "
         "open close read write flush sync lock unlock").split()


def text_block(rng, size):
    parts, n = [], 0
    while n < size:
        line = " ".join(rng.choice(WORDS) for _ in range(rng.randint(4, 14)))
        line = f"{line} {rng.randint(0, 99999)}\n"
        parts.append(line)
        n += len(line)
    return "".join(parts).encode()[:size]


def make_small(folder, rng):
    for i in range(2000):
        sub = os.path.join(folder, f"dir{i // 100:02d}")
        os.makedirs(sub, exist_ok=True)
        with open(os.path.join(sub, f"file{i:04d}.txt"), "wb") as f:
            f.write(text_block(rng, rng.randint(1024, 50 * 1024)))


def make_mixed(folder, rng):
    for i in range(20):
        with open(os.path.join(folder, f"blob{i:02d}.bin"), "wb") as f:
            for chunk in range(20):
                if chunk % 2 == 0:
                    f.write(text_block(rng, MiB))
                else:  # binary: random bytes with runs, about half compressible
                    raw = bytearray(rng.randbytes(MiB))
                    for k in range(0, MiB, 4096):
                        raw[k:k + 2048] = bytes([raw[k]]) * 2048
                    f.write(raw)


def make_log(folder, rng):
    levels = ["INFO", "INFO", "INFO", "DEBUG", "WARN", "ERROR"]
    base = text_block(rng, 4 * MiB).split(b"\n")
    with open(os.path.join(folder, "service.log"), "wb") as f:
        written, t, out = 0, 1_700_000_000.0, []
        while written < 500 * MiB:
            t += rng.random() / 10
            stamp = time.strftime("%Y-%m-%dT%H:%M:%S", time.gmtime(t))
            line = b"%s.%03dZ %s [worker-%d] %s\n" % (stamp.encode(), int(t * 1000) % 1000,
                                                    rng.choice(levels).encode(), rng.randint(1, 16),
                                                    rng.choice(base))
            out.append(line)
            written += len(line)
            if len(out) >= 10000:
                f.write(b"".join(out))
                out = []
        f.write(b"".join(out))
        f.truncate(500 * MiB)


CASES = [
    ("2000 text files, 1-50 KiB", "small", make_small),
    ("20 files of 20 MiB, text+binary", "mixed", make_mixed),
    ("one 500 MiB log", "log", make_log),
]


def prepare(work):
    archives = {}
    for title, key, maker in CASES:
        archive = os.path.join(work, f"{key}.zip")
        if not os.path.exists(archive):
            src = os.path.join(work, f"src-{key}")
            shutil.rmtree(src, ignore_errors=True)
            os.makedirs(src)
            print(f"making {key}.zip ...", file=sys.stderr, flush=True)
            maker(src, random.Random(20261123 + len(key)))
            subprocess.run(["zip", "-q", "-r", archive + ".part", "."], cwd=src, check=True)
            os.rename(archive + ".part", archive)
            shutil.rmtree(src)
        archives[key] = archive
    return archives


def output_bytes(folder):
    total = 0
    for root, _, files in os.walk(folder):
        for name in files:
            total += os.lstat(os.path.join(root, name)).st_size
    return total


GNU_TIME = "/usr/bin/time"  # Debian package "time": the child's own peak RSS


def run_once(argv, dest):
    """Wall time and peak resident KiB (0 when /usr/bin/time is missing) of one extraction."""
    shutil.rmtree(dest, ignore_errors=True)
    os.makedirs(dest)
    rss_file = dest + ".rss"
    if os.access(GNU_TIME, os.X_OK):
        argv = [GNU_TIME, "-f", "%M", "-o", rss_file] + argv
    start = time.perf_counter()
    status = subprocess.run(argv, stdin=subprocess.DEVNULL).returncode
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit(f"failed: {argv}")
    peak = 0
    if os.path.exists(rss_file):
        with open(rss_file) as f:
            peak = int(f.read().split()[-1])
        os.remove(rss_file)
    return elapsed, peak


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    default_tool = os.path.join(here, "..", "..", "build", "bin", "brisko-unzip")
    ap = argparse.ArgumentParser()
    ap.add_argument("--tool", default=default_tool)
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--work", default="/dev/shm/brisko-bench-unzip")
    ap.add_argument("--only", choices=[c[1] for c in CASES])
    args = ap.parse_args()
    tool = os.path.abspath(args.tool)
    if not os.access(tool, os.X_OK):
        sys.exit(f"no brisko-unzip at {tool} (build it, or pass --tool)")
    for peer in ("bsdtar", "unzip", "zip"):
        if not shutil.which(peer):
            sys.exit(f"{peer} is missing (scripts/setup installs it)")
    os.makedirs(args.work, exist_ok=True)
    archives = prepare(args.work)
    dest = os.path.join(args.work, "out")
    tools = {
        "brisko-unzip": lambda a, d: [tool, a, d],
        "bsdtar": lambda a, d: ["bsdtar", "-xf", a, "-C", d],
        "unzip": lambda a, d: ["unzip", "-o", "-q", a, "-d", d],
    }
    names = list(tools)
    print(f"runs per tool: {args.runs}, alternating; output on {args.work} (tmpfs); median wall time")
    print(f"{'archive':34} {'tool':13} {'median s':>9} {'MB/s':>8} {'peak RSS':>10}")
    summary = []
    for title, key, _ in CASES:
        if args.only and key != args.only:
            continue
        archive = archives[key]
        times = {n: [] for n in names}
        rss = {n: 0 for n in names}
        size = None
        for r in range(args.runs):
            order = names[r % len(names):] + names[:r % len(names)]
            for n in order:
                t, peak = run_once(tools[n](archive, dest), dest)
                if size is None:
                    size = output_bytes(dest)
                elif n == "brisko-unzip" and r == 0 and output_bytes(dest) != size:
                    sys.exit("brisko-unzip produced a different amount of output than the peers")
                times[n].append(t)
                rss[n] = max(rss[n], peak)
        shutil.rmtree(dest, ignore_errors=True)
        med = {n: statistics.median(times[n]) for n in names}
        for n in names:
            peak = f"{rss[n] / 1024:6.1f} MiB" if rss[n] else "n/a"
            print(f"{title:34} {n:13} {med[n]:9.3f} {size / med[n] / 1e6:8.1f} {peak:>10}")
        summary.append((title, med["bsdtar"] / med["brisko-unzip"], med["unzip"] / med["brisko-unzip"]))
    print()
    print(f"{'archive':34} {'ours/bsdtar':>12} {'ours/unzip':>11}   (speed ratios, >1 = ours faster)")
    for title, vs_bsdtar, vs_unzip in summary:
        print(f"{title:34} {vs_bsdtar:11.2f}x {vs_unzip:10.2f}x")


if __name__ == "__main__":
    main()
