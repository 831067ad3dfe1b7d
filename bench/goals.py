#!/usr/bin/env python3
"""Measures the store's performance goals in one run, side by side.

    python3 bench/goals.py [BUILD_DIR] [RUNS]

BUILD_DIR (default build) must hold bin/Tarnwick and bin/make_large_store
(configure with -DTARNWICK_BENCH=ON); bin/libplist_peer is used when it was
built. Every program is run RUNS times (default 5), the runs interleaved so
that a busy machine slows all of them alike; each figure is the best run.
Times are wall-clock and include starting the process; peak memory is the
largest resident set of the process. Prints the figures and the five goals
of the tool's speed as Markdown tables, with the machine's load average
(figures from a busy machine are slower, and their ratios move).
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
STORE = "Library/Preferences/SystemConfiguration/preferences.plist"


def run(argv, root=None):
    """Runs argv; returns (seconds, peak resident KiB, stdout)."""
    env = dict(os.environ)
    if root is not None:
        env["TARNWICK_ROOT"] = root
    start = time.perf_counter()
    child = subprocess.Popen(argv, env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    out = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit("goals.py: %s failed" % " ".join(argv))
    return elapsed, usage.ru_maxrss, out


def load():
    try:
        with open("/proc/loadavg") as f:
            return " ".join(f.read().split()[:3])
    except OSError:
        return "unknown"


def fresh(template, work):
    root = os.path.join(work, "root")
    shutil.rmtree(root, ignore_errors=True)
    shutil.copytree(template, root)
    return root


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build"
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    tool = os.path.join(build, "bin/Tarnwick")
    peer = os.path.join(build, "bin/libplist_peer")
    work = tempfile.mkdtemp()
    try:
        templates = {}
        for count in (1000, 10000):
            templates[count] = os.path.join(work, "t%d" % count)
            subprocess.check_call([os.path.join(build, "bin/make_large_store"), templates[count], str(count)])
        real = os.path.join(work, "real")
        os.makedirs(os.path.dirname(os.path.join(real, STORE)))
        shutil.copy(os.path.join(HERE, "../tests/data/stores/macbook-air-http-proxy-ppp.plist"),
                    os.path.join(real, STORE))
        big_file = os.path.join(templates[10000], STORE)
        size = os.path.getsize(big_file)

        best = {}

        def note(name, value):
            seconds, kib = value[0], value[1]
            old = best.get(name)
            best[name] = (min(seconds, old[0]) if old else seconds, min(kib, old[1]) if old else kib)

        for _ in range(runs):
            note("e10k", run([tool, "-e"], fresh(templates[10000], work)))
            note("python", run([sys.executable, os.path.join(HERE, "switch_peer.py"), fresh(templates[10000], work)]))
            if os.path.exists(peer):
                ms = float(run([peer, big_file, "1"])[2])
                note("libplist", (ms / 1000.0, 0))
            note("e1k", run([tool, "-e"], fresh(templates[1000], work)))
            for _ in range(5):
                note("p3", run([tool, "-p"], real))

        e10k, python, e1k, p3 = best["e10k"], best["python"], best["e1k"], best["p3"]
        print("store of 10,000 services: %.1f MB of XML; load average %s" % (size / 1e6, load()))
        print()
        print("| measure | figure |")
        print("|---|---|")
        print("| `Tarnwick -e`, 10,000 services | %.0f ms, %.1f MiB |" % (e10k[0] * 1000, e10k[1] / 1024))
        print("| the same job in Python plistlib | %.0f ms |" % (python[0] * 1000))
        if "libplist" in best:
            print("| one libplist parse + write, in process | %.0f ms |" % (best["libplist"][0] * 1000))
        print("| `Tarnwick -e`, 1,000 services | %.1f ms |" % (e1k[0] * 1000))
        print("| `Tarnwick -p`, real store | %.1f ms |" % (p3[0] * 1000))
        print()
        goals = [
            ("`-e` speed against Python plistlib", python[0] / e10k[0], ">=", 8, "times as fast"),
            ("peak memory of `-e` against the file", e10k[1] * 1024 / size, "<=", 3, "times"),
            ("t(10,000) / t(1,000)", e10k[0] / e1k[0], "<=", 10.5, ""),
            ("`-p` on a real store", p3[0] * 1000, "<=", 2, "ms"),
        ]
        if "libplist" in best:
            goals.insert(1, ("`-e` against one libplist parse + write", e10k[0] / best["libplist"][0], "<=", 1.0,
                             "times as long"))
        print("| goal | measured | limit | held |")
        print("|---|---|---|---|")
        for name, value, relation, limit, unit in goals:
            held = value >= limit if relation == ">=" else value <= limit
            print("| %s | %.2f %s | %s %g | %s |" % (name, value, unit, relation, limit, "yes" if held else "NO"))
        if "libplist" not in best:
            print("(libplist_peer not built: install libplist-dev and configure again for the libplist goal)")
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
