#!/usr/bin/env python3
"""The debug link against local peers, in one run.

push and run   brisko-cli push of a 10 MiB project of 500 files, then brisko-cli run, until the
               script's first line is in the log; against tar -c DIR | tar -x -C DEST of the same
               folder. Median of 5, taken in turns.
log follow     a script prints its CLOCK_MONOTONIC time on each of 1,000 lines; a /v1/events
               client compares it with its own clock when the line arrives. Median.

Starts its own private system bus and a floatball (needs port 8989 free; the link uses PORT).
"""
import argparse, base64, json, os, shutil, socket, statistics, struct, subprocess, tempfile, time
import urllib.request

PORT = 18821
FILES = 500
PROJECT_BYTES = 10 * 1024 * 1024
LINES = 1000


def private_bus(workdir):
    conf, sock = os.path.join(workdir, "system.conf"), os.path.join(workdir, "bus.sock")
    with open("/usr/share/dbus-1/system.conf") as f:
        text = f.read()
    import re
    text = re.sub(r"<user>[^<]*</user>|<pidfile>[^<]*</pidfile>|<syslog/>", "", text)
    text = re.sub(r"<listen>[^<]*</listen>", f"<listen>unix:path={sock}</listen>", text)
    with open(conf, "w") as f:
        f.write(text)
    bus = subprocess.Popen(["dbus-daemon", "--config-file=" + conf, "--nofork", "--nopidfile"])
    while not os.path.exists(sock):
        time.sleep(0.01)
    return bus, f"unix:path={sock}"


def post(address, name):
    subprocess.run(["dbus-send", "--system", "--type=signal", "/com/brisko/Notify", "com.brisko.Notify.Post",
                    "string:" + name], env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": address}, check=True)


def request(token, method, path):
    req = urllib.request.Request(f"http://127.0.0.1:{PORT}{path}", method=method,
                                 headers={"Authorization": "Bearer " + token})
    try:
        with urllib.request.urlopen(req) as reply:
            return json.loads(reply.read())
    except urllib.error.HTTPError as error:
        return json.loads(error.read())


def make_project(folder):
    os.makedirs(folder)
    size = PROJECT_BYTES // FILES
    for i in range(FILES - 1):
        sub = os.path.join(folder, f"lib{i % 10}")
        os.makedirs(sub, exist_ok=True)
        with open(os.path.join(sub, f"f{i}.bin"), "wb") as f:
            f.write(os.urandom(size))
    with open(os.path.join(folder, "main.sh"), "w") as f:
        f.write("echo first-line\nsleep 60\n")


def log_size(docs):
    try:
        return os.path.getsize(os.path.join(docs, "script.log"))
    except FileNotFoundError:
        return 0


def stop_and_wait(token):
    request(token, "POST", "/v1/stop")
    while request(token, "GET", "/v1/info")["state"] != "stopped":
        time.sleep(0.005)


def push_and_run(cli, token, docs, project):
    stop_and_wait(token)
    start_size = log_size(docs)
    device = ["--device", f"127.0.0.1:{PORT}", "--token", token]
    start = time.perf_counter()
    subprocess.run([cli, *device, "push", project], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    subprocess.run([cli, *device, "run"], check=True, stdout=subprocess.DEVNULL)
    log = os.path.join(docs, "script.log")
    while True:
        with open(log, "rb") as f:
            f.seek(start_size)
            if b"first-line" in f.read():
                return time.perf_counter() - start
        time.sleep(0.0002)


def tar_copy(project, scratch):
    dest = os.path.join(scratch, "tar-dest")
    shutil.rmtree(dest, ignore_errors=True)
    os.makedirs(dest)
    start = time.perf_counter()
    subprocess.run(f"tar -c -C '{project}' . | tar -x -C '{dest}'", shell=True, check=True)
    return time.perf_counter() - start


class Events:
    """Just enough of a WebSocket client for the server's unmasked text frames."""

    def __init__(self, token):
        self.sock = socket.create_connection(("127.0.0.1", PORT))
        key = base64.b64encode(os.urandom(16)).decode()
        self.sock.sendall((f"GET /v1/events?token={token} HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\n"
                           f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n")
                          .encode())
        self.buffer = b""
        while b"\r\n\r\n" not in self.buffer:
            self.buffer += self.sock.recv(4096)
        head, self.buffer = self.buffer.split(b"\r\n\r\n", 1)
        assert b" 101 " in head.split(b"\r\n")[0], head

    def take(self, n):
        while len(self.buffer) < n:
            self.buffer += self.sock.recv(65536)
        out, self.buffer = self.buffer[:n], self.buffer[n:]
        return out

    def message(self):
        first, second = self.take(2)
        length = second & 0x7F
        if length == 126:
            length = struct.unpack(">H", self.take(2))[0]
        elif length == 127:
            length = struct.unpack(">Q", self.take(8))[0]
        return json.loads(self.take(length))


def follow_latency(token, docs):
    stop_and_wait(token)
    with open(os.path.join(docs, "app", "main.py"), "w") as f:
        f.write("import time\n"
                f"for i in range({LINES}):\n"
                "    print('t', time.clock_gettime_ns(time.CLOCK_MONOTONIC), flush=True)\n"
                "    time.sleep(0.002)\n")
    os.remove(os.path.join(docs, "app", "main.sh"))
    events = Events(token)
    request(token, "POST", "/v1/run")
    delays = []
    while len(delays) < LINES:
        message = events.message()
        now = time.clock_gettime_ns(time.CLOCK_MONOTONIC)
        words = message.get("text", "").split()
        if message["type"] == "log" and len(words) >= 2 and words[-2] == "t":
            delays.append((now - int(words[-1])) / 1e6)
    return statistics.median(delays), max(delays)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--floatball", required=True)
    parser.add_argument("--cli", required=True)
    args = parser.parse_args()
    scratch = tempfile.mkdtemp(prefix="bench-debug-link-")
    bus, address = private_bus(scratch)
    docs, project = os.path.join(scratch, "Documents"), os.path.join(scratch, "project")
    make_project(project)
    os.makedirs(docs)
    daemon = subprocess.Popen([args.floatball, docs], env={"DBUS_SYSTEM_BUS_ADDRESS": address,
                                                           "FLOATBALL_DEBUG_PORT": str(PORT)})
    try:
        token_path = os.path.join(docs, ".floatball.token")
        while not os.path.exists(token_path):
            if daemon.poll() is not None:
                raise SystemExit("floatball did not start (is port 8989 taken?)")
            post(address, "com.brisko.floatball.debug.enable_request")
            time.sleep(0.1)
        token = open(token_path).read()
        # Taken in turns, so both meet the same state of the file system and the same load.
        runs = [(push_and_run(args.cli, token, docs, project), tar_copy(project, scratch)) for _ in range(5)]
        ours = statistics.median(run[0] for run in runs)
        peer = statistics.median(run[1] for run in runs)
        print(f"push and run: ours {ours * 1000:.1f} ms, tar | tar {peer * 1000:.1f} ms, "
              f"ratio {ours / peer:.2f} (target <= 3)")
        median, worst = follow_latency(token, docs)
        print(f"log follow latency: median {median:.2f} ms, max {worst:.2f} ms over {LINES} lines (target <= 20 ms)")
    finally:
        daemon.terminate()
        daemon.wait()
        bus.terminate()
        shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    main()
