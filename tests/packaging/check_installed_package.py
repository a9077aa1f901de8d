#!/usr/bin/env python3
"""Builds the Debian package from a configured build, unpacks it into a throw-away root and runs
what it installed there, so a missing dependency or a bundle file left behind shows up here
instead of on a user's machine."""

import argparse
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PREFIX = "opt/brisko"
BUNDLE_ENTRIES = ["brisko", "Info.plist", "assets", "app"]
DESKTOP_FILES = [
    "usr/share/applications/com.brisko.app.desktop",
    "usr/share/metainfo/com.brisko.app.metainfo.xml",
    "usr/share/icons/hicolor/scalable/apps/com.brisko.app.svg",
    "usr/share/icons/hicolor/48x48/apps/com.brisko.app.png",
    "usr/share/icons/hicolor/256x256/apps/com.brisko.app.png",
    "etc/xdg/autostart/com.brisko.app.desktop",
    "usr/share/doc/brisko/copyright",
]
# Families the screens ask for by name (None: any family, as long as a package provides it).
FONTS = [("Noto Sans CJK SC", "Noto Sans CJK SC"), ("Material Design Icons", "Material Design Icons"),
         ("monospace", None)]
# Loaded when present, optional for whoever loads them.
OPTIONAL_LOADS = {"libxcursor1"}  # Qt's xcb plugin, for cursor themes
QML_FAILURES = re.compile(r'module "[^"]+" is not installed|is not a type|Cannot assign|ReferenceError')

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
    return condition


def run(args, **kwargs):
    return subprocess.run(args, capture_output=True, text=True, **kwargs)


def build_package(build_dir, out_dir):
    result = run(["cpack", "-G", "DEB", "-B", str(out_dir), "--config", str(build_dir / "CPackConfig.cmake")])
    debs = sorted(out_dir.glob("brisko_*_amd64.deb"))
    if result.returncode != 0 or len(debs) != 1:
        sys.exit(f"cpack failed:\n{result.stdout}\n{result.stderr}")
    return debs[0]


def package_field(deb, field):
    return run(["dpkg-deb", "-f", str(deb), field]).stdout.strip()


def package_names(field_value):
    """Every package a Depends-style field names, alternatives included."""
    names = set()
    for clause in re.split(r"[,|]", field_value):
        name = clause.strip().split(" ")[0].split(":")[0]
        if name:
            names.add(name)
    return names


def installed_dependency_graph():
    out = run(["dpkg-query", "-W", "-f=${Package}\t${Depends}, ${Pre-Depends}\t${Provides}\n"]).stdout
    depends, providers = {}, {}
    for line in out.splitlines():
        package, deps, provides = (line.split("\t") + ["", ""])[:3]
        depends[package] = package_names(deps)
        for virtual in package_names(provides):
            providers.setdefault(virtual, set()).add(package)
    return depends, providers


def dependency_closure(direct):
    depends, providers = installed_dependency_graph()
    seen, todo = set(), list(direct)
    while todo:
        name = todo.pop()
        if name in seen:
            continue
        seen.add(name)
        todo.extend(depends.get(name, ()))
        todo.extend(providers.get(name, ()))
    return seen


def owning_packages(paths):
    """Maps each path to the package that ships it (None when no package does)."""
    def spellings(path):
        real = os.path.realpath(path)
        return [p for p in dict.fromkeys([path, real, real.removeprefix("/usr"), path.removeprefix("/usr")]) if p]

    every = sorted({s for path in paths for s in spellings(path)})
    shipped = {}
    for line in run(["dpkg", "-S", *every]).stdout.splitlines():
        package, _, path = line.partition(": ")
        shipped[path] = package.split(",")[0].split(":")[0].strip()
    return {path: next((shipped[s] for s in spellings(path) if s in shipped), None) for path in paths}


def check_layout(root, bundle_dir, expect_daemon):
    for entry in BUNDLE_ENTRIES + (["floatball", "floatball-ball", "brisko-cli"] if expect_daemon else []):
        check((root / PREFIX / entry).exists(), f"{PREFIX}/{entry} is not in the package")
    for path in DESKTOP_FILES:
        check((root / path).is_file(), f"{path} is not in the package")
    built = {p.relative_to(bundle_dir) for p in bundle_dir.rglob("*") if p.is_file()}
    shipped = {p.relative_to(root / PREFIX) for p in (root / PREFIX).rglob("*") if p.is_file()}
    check(not built - shipped, f"bundle files left out of the package: {sorted(map(str, built - shipped))}")
    tree = run(["appstreamcli", "validate-tree", "--no-net", str(root)])
    check(tree.returncode == 0, f"AppStream rejects the installed tree:\n{tree.stdout}")
    link = root / "usr/bin/brisko"
    check(link.is_symlink() and os.readlink(link) == f"/{PREFIX}/brisko", "usr/bin/brisko does not point at the bundle")


def app_environment(home):
    env = {k: v for k, v in os.environ.items() if not k.startswith(("BRISKO_", "QML", "QT_PLUGIN"))}
    env.update(HOME=str(home), XDG_DATA_HOME=str(home / "data"), XDG_CONFIG_HOME=str(home / "config"),
               XDG_CACHE_HOME=str(home / "cache"), QTWEBENGINE_CHROMIUM_FLAGS="--no-sandbox")
    env.setdefault("QT_QPA_PLATFORM", "xcb" if env.get("DISPLAY") else "offscreen")
    return env


def loaded_libraries(ld_debug_log):
    libs = set()
    for log in ld_debug_log.parent.glob(ld_debug_log.name + ".*"):
        libs.update(re.findall(r"calling init: (/\S+)", log.read_text(errors="replace")))
    return libs


def check_application(root, work, closure):
    home, shots, trace = work / "home", work / "shots", work / "ld"
    env = app_environment(home)
    env.update(LD_DEBUG="files", LD_DEBUG_OUTPUT=str(trace))
    app = run([str(root / PREFIX / "brisko"), "--screenshot", str(shots)], env=env, timeout=90)
    check(app.returncode == 0, f"the installed application exited with {app.returncode}")
    for line in app.stderr.splitlines():
        check(not QML_FAILURES.search(line), f"QML: {line}")
    check(any(shots.glob("*.png")), "the screenshot tour wrote no image")
    documents = home / "data/brisko/Documents"
    for deployed in ["assets", "app"]:
        check((documents / deployed).is_dir(), f"the bundle's {deployed} was not deployed into Documents")
    libs = {lib for lib in loaded_libraries(trace) if not lib.startswith(str(root))}
    check(libs, "no library load was traced")
    for lib, owner in owning_packages(sorted(libs)).items():
        check(owner in closure | OPTIONAL_LOADS, f"{lib} comes from {owner or 'no package'}, which the package does not depend on")


def check_fonts(closure):
    for requested, expected_family in FONTS:
        if expected_family is None:
            check_generic_font(requested, closure)
            continue
        out = run(["fc-match", "-f", "%{family}\t%{file}", requested]).stdout
        families, _, file = out.partition("\t")
        if not check(expected_family in families.split(","), f"no font for {requested}"):
            continue
        owner = owning_packages([file])[file]
        check(owner in closure, f"font {requested} comes from {owner or 'no package'}, not a dependency")


# A generic family is whatever this machine prefers; on an installed system it must still find one
# of the package's own dependencies.
GENERIC_PATTERNS = {"monospace": ":spacing=100"}


def check_generic_font(requested, closure):
    files = [line.split(":")[0] for line in run(["fc-list", GENERIC_PATTERNS[requested], "file"]).stdout.splitlines()]
    owners = set(owning_packages(files).values()) if files else set()
    check(bool(owners & closure), f"no dependency provides a {requested} font (found in {sorted(filter(None, owners))})")


def ping_daemon(daemon, work, env):
    """Starts the installed daemon and waits for its answer to a ping on the system bus."""
    documents, heard = work / "daemon-documents", work / "daemon-bus.log"
    documents.mkdir()
    with open(heard, "w") as log:
        monitor = subprocess.Popen(["dbus-monitor", "--system", "type='signal',interface='com.brisko.Notify'"],
                                   stdout=log, env=env)
    try:
        alive, exited, errors = wait_for_alive(daemon, documents, heard, env)
    finally:
        monitor.terminate()
        monitor.wait()
    check(alive, f"the installed daemon did not answer a ping (exit {exited}): {errors[-2000:]}")


def wait_for_alive(daemon, documents, heard, env):
    proc = subprocess.Popen([str(daemon), str(documents)], env=env, stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, text=True, start_new_session=True)
    alive, deadline = False, time.monotonic() + 30
    while not alive and proc.poll() is None and time.monotonic() < deadline:
        run(["dbus-send", "--system", "--type=signal", "/com/brisko/Notify", "com.brisko.Notify.Post",
             "string:com.brisko.floatball.ping"], env=env)
        time.sleep(0.5)
        alive = "com.brisko.floatball.alive" in heard.read_text(errors="replace")
    exited = proc.poll()
    if exited is None:
        os.killpg(proc.pid, signal.SIGTERM)
    _, errors = proc.communicate(timeout=10)
    return alive, exited, errors


def check_daemon(root, work):
    daemon = root / PREFIX / "floatball"
    if not daemon.exists():
        return
    missing = [l for l in run(["ldd", str(daemon)]).stdout.splitlines() if "not found" in l]
    check(not missing, f"the daemon's libraries are missing: {missing}")
    env = app_environment(work / "daemon-home")
    if "DBUS_SYSTEM_BUS_ADDRESS" in env:
        ping_daemon(daemon, work, env)


def timed(label, step, *args):
    start = time.monotonic()
    result = step(*args)
    print(f"{label}: {time.monotonic() - start:.1f} s")
    return result


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", type=Path, required=True)
    parser.add_argument("--bundle-dir", type=Path, required=True)
    parser.add_argument("--expect-daemon", type=int, default=0)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="brisko-package-") as tmp:
        work = Path(tmp)
        deb = timed("cpack", build_package, args.build_dir.resolve(), work / "out")
        root = work / "root"
        run(["dpkg-deb", "-x", str(deb), str(root)], check=True)
        closure = timed("closure", dependency_closure, package_names(package_field(deb, "Depends")))
        print(f"{deb.name}: {deb.stat().st_size} bytes\nDepends: {package_field(deb, 'Depends')}")
        check_layout(root, args.bundle_dir.resolve(), bool(args.expect_daemon))
        timed("application", check_application, root, work, closure)
        check_fonts(closure)
        timed("daemon", check_daemon, root, work)
    for failure in failures:
        print("FAIL:", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
