#!/usr/bin/env python3
"""Measures the goals of listing the ports of a real Mac's registry dump.

    python3 bench/ports_goals.py [BUILD_DIR] [RUNS]

BUILD_DIR (default build) must hold bin/moresc and
bin/make_large_registry_dump (configure with -DTARNWICK_BENCH=ON). It writes
a 13 MB dump in the text of "ioreg -lw0" and the same registry as "ioreg -a"
writes it (the form a user would otherwise capture), then runs
"moresc ports" on each RUNS times (default 5), interleaved; each figure is
the best run, wall-clock with process start, and the peak resident set of
the whole process.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

DUMP_BYTES = 13 * 1000 * 1000


def run(argv, dump):
    """Runs argv with the dump as the registry; returns (seconds, peak KiB)."""
    env = dict(os.environ, TARNWICK_IOREG=dump)
    start = time.perf_counter()
    child = subprocess.Popen(argv, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit("ports_goals.py: %s failed on %s" % (" ".join(argv), dump))
    return elapsed, usage.ru_maxrss


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build"
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    moresc = os.path.join(build, "bin/moresc")
    work = tempfile.mkdtemp()
    try:
        text = os.path.join(work, "registry.txt")
        xml = os.path.join(work, "registry.plist")
        subprocess.check_call([os.path.join(build, "bin/make_large_registry_dump"), text, xml, str(DUMP_BYTES)])
        best = {}
        for _ in range(runs):
            for name, dump in (("text", text), ("xml", xml)):
                seconds, kib = run([moresc, "ports"], dump)
                old = best.get(name, (seconds, kib))
                best[name] = (min(seconds, old[0]), min(kib, old[1]))
        size = {"text": os.path.getsize(text), "xml": os.path.getsize(xml)}
        for name, label in (("text", "ioreg -lw0 text"), ("xml", "ioreg -a XML, same registry")):
            seconds, kib = best[name]
            print("moresc ports, %-28s %5.1f MB  %6.0f ms  %6.1f MiB  (%.2f x the file)"
                  % (label, size[name] / 1e6, seconds * 1000, kib / 1024, kib * 1024 / size[name]))
        print()
        goals = [
            ("text dump listed, ms", best["text"][0] * 1000, "<=", 500),
            ("text dump peak memory / file size", best["text"][1] * 1024 / size["text"], "<=", 4),
        ]
        for name, value, relation, limit in goals:
            held = value <= limit
            print("%-44s %9.2f  (goal %s %g: %s)" % (name, value, relation, limit, "met" if held else "NOT met"))
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
