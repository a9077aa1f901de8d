#!/usr/bin/env python3
"""floatball against bare process control, in one run.

start latency  GET /task?cmd=start until the script's first line is on disk, against a bare
               posix_spawn of sh -c 'echo x >> file' until its line is on disk.
log throughput a script printing 64 MiB of lines into the log, against the same script piped into
               cat > file, in alternating rounds; every line is counted.
stop           GET /task?cmd=stop until the group is gone (cooperative and TERM-ignoring scripts),
               against kill -TERM + waitpid of a bare sh.
"""
import argparse, os, shutil, signal, socket, statistics, subprocess, tempfile, time

PORT = 8989
LINE_BYTES = 80
LOG_BYTES = 64 * 1024 * 1024
LINES = LOG_BYTES // LINE_BYTES
WRITER = f"seq -f '%0{LINE_BYTES - 1}.0f' 1 {LINES}\n"


def task(cmd):
    with socket.create_connection(("127.0.0.1", PORT)) as s:
        s.sendall(f"GET /task?cmd={cmd} HTTP/1.1\r\nHost: 127.0.0.1:{PORT}\r\nConnection: close\r\n\r\n".encode())
        reply = b""
        while chunk := s.recv(65536):
            reply += chunk
    return reply.split(b"\r\n\r\n", 1)[1].decode()


def wait_until(predicate, pause=0.0001):
    while not predicate():
        time.sleep(pause)


def size(path):
    try:
        return os.path.getsize(path)
    except FileNotFoundError:
        return 0


class Daemon:
    def __init__(self, floatball, docs, env=None):
        self.docs = docs
        self.log = os.path.join(docs, "script.log")
        self.proc = subprocess.Popen([floatball, docs], env=env or {})
        wait_until(self.listening, 0.01)

    def listening(self):
        try:
            socket.create_connection(("127.0.0.1", PORT)).close()
            return True
        except OSError:
            return False

    def script(self, text):
        os.makedirs(os.path.join(self.docs, "app"), exist_ok=True)
        with open(os.path.join(self.docs, "app", "main.sh"), "w") as f:
            f.write(text)

    def stopped(self):
        return '"stopped"' in task("status")

    def close(self):
        self.proc.terminate()
        self.proc.wait()


def median_ms(samples):
    return statistics.median(samples) * 1000


def ratio_line(name, ours, peer, unit="ms"):
    print(f"{name}: floatball {ours:.2f} {unit}, peer {peer:.2f} {unit}, ratio {ours / peer:.2f}")


def start_latency(daemon, work, runs=30):
    peer_file = os.path.join(work, "peer.txt")
    peer = []
    for _ in range(runs):
        before = size(peer_file)
        t0 = time.perf_counter()
        pid = os.posix_spawn("/bin/sh", ["sh", "-c", f"echo x >> {peer_file}"], {})
        wait_until(lambda: size(peer_file) > before)
        peer.append(time.perf_counter() - t0)
        os.waitpid(pid, 0)
    daemon.script("echo x\n")
    ours = []
    for _ in range(runs):
        before = size(daemon.log)
        t0 = time.perf_counter()
        task("start")
        # the begin line is ours; the script's line comes after it
        wait_until(lambda: open(daemon.log, "rb").read()[before:].count(b"\n") >= 2)
        ours.append(time.perf_counter() - t0)
        wait_until(daemon.stopped, 0.001)
    ratio_line("start latency (median of %d)" % runs, median_ms(ours), median_ms(peer))


def peer_throughput(work):
    peer_file = os.path.join(work, "peer.log")
    t0 = time.perf_counter()
    subprocess.run(["sh", "-c", f"{WRITER.strip()} | cat > {peer_file}"], check=True)
    elapsed = time.perf_counter() - t0
    os.remove(peer_file)
    return elapsed


def our_throughput(daemon):
    if os.path.exists(daemon.log):
        os.remove(daemon.log)
    t0 = time.perf_counter()
    task("start")
    wait_until(lambda: b"\xe8\x84\x9a\xe6\x9c\xac\xe7\xbb\x93\xe6\x9d\x9f" in tail(daemon.log), 0.001)
    elapsed = time.perf_counter() - t0
    wait_until(daemon.stopped, 0.001)
    return elapsed, LINES - count_lines(daemon.log)


# Rounds alternate peer and ours, so a busy spell on a shared machine falls on both sides.
def log_throughput(daemon, work, rounds=3):
    daemon.script(WRITER)
    peer, ours, lost = [], [], 0
    for _ in range(rounds):
        peer.append(peer_throughput(work))
        elapsed, missing = our_throughput(daemon)
        ours.append(elapsed)
        lost += missing
    peer_s, ours_s = statistics.median(peer), statistics.median(ours)
    mib = LOG_BYTES / (1024 * 1024)
    print(f"log throughput (median of {rounds}): floatball {mib / ours_s:.1f} MiB/s, peer {mib / peer_s:.1f} MiB/s "
          f"({LINES} lines of {LINE_BYTES} bytes; {lost} lost)")
    print(f"log throughput ratio: {peer_s / ours_s:.2f}")


def tail(path):
    with open(path, "rb") as f:
        f.seek(max(0, size(path) - 256))
        return f.read()


def count_lines(path):
    n = 0
    with open(path, "rb") as f:
        for line in f:
            n += b"==== " not in line
    return n


def stop_time(daemon, script, runs):
    daemon.script(script)
    samples = []
    for _ in range(runs):
        task("start")
        time.sleep(0.2)  # let it settle into its loop
        t0 = time.perf_counter()
        task("stop")
        wait_until(daemon.stopped, 0.0005)
        samples.append(time.perf_counter() - t0)
    return median_ms(samples)


def peer_stop(runs=10):
    samples = []
    for _ in range(runs):
        pid = os.posix_spawn("/bin/sh", ["sh", "-c", "while :; do sleep 0.1; done"], {}, setsid=True)
        time.sleep(0.2)
        t0 = time.perf_counter()
        os.killpg(pid, signal.SIGTERM)
        os.waitpid(pid, 0)
        samples.append(time.perf_counter() - t0)
    return median_ms(samples)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--floatball", required=True)
    args = parser.parse_args()
    work = tempfile.mkdtemp(prefix="bench-daemon-", dir="/dev/shm" if os.path.isdir("/dev/shm") else None)
    docs = os.path.join(work, "Documents")
    # the log must hold all 64 MiB to count it
    daemon = Daemon(args.floatball, docs, {"FLOATBALL_LOG_ROTATE_BYTES": str(1 << 30)})
    try:
        start_latency(daemon, work)
        log_throughput(daemon, work)
        peer = peer_stop()
        ratio_line("stop, cooperative script (median of 10)",
                   stop_time(daemon, "while :; do sleep 0.1; done\n", 10), peer)
        ratio_line("stop, script and child ignoring SIGTERM (median of 3)",
                   stop_time(daemon, "trap '' TERM\n(sleep 1000) &\nwhile :; do sleep 0.1; done\n", 3), peer)
    finally:
        daemon.close()
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
