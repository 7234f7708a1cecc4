"""Generated TMX files read from Python: every unit with quillon.read_units, and the en/de pairs
with quillon.read_pairs, at 30 k, 300 k and 3 M units; translate-toolkit doing the same work at
300 k (each variant's language, segment and note taken, their lengths summed; each unit's first
en and de segments, whitespace made plain). Each read in a process of its own under
/usr/bin/time: best wall time and highest peak RSS of --reps runs.

Run with Debian's python3 from the top of the tree: bench/python_bench.py [--data DIR] [--units
30000,300000,3000000] [--reps 3]. The files are those of quillon_bench, made by build/bin/gen_tmx.
"""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile

QUILLON = """
import sys, quillon
total = 0
for unit in quillon.read_units(sys.argv[1]):
    for v in unit.variants:
        total += len(v.language) + len(v.segment) + len(v.note)
print(total)
"""

# translate-toolkit's way to the same texts: the store's units, their language nodes and notes.
TRANSLATE_TOOLKIT = """
import sys
from translate.storage import tmx
XML_LANG = "{http://www.w3.org/XML/1998/namespace}lang"
total = 0
with open(sys.argv[1], "rb") as f:
    store = tmx.tmxfile(f)
for unit in store.units:
    notes = unit.getnotes()
    for node in unit.getlanguageNodes():
        total += len(node.get(XML_LANG) or node.get("lang") or "") + len(unit.getNodeText(node)) + len(notes)
print(total)
"""


QUILLON_PAIRS = """
import sys, quillon
total = 0
for pair in quillon.read_pairs(sys.argv[1], "en", "de"):
    total += len(pair.first) + len(pair.second)
print(total)
"""

TRANSLATE_TOOLKIT_PAIRS = """
import sys
from translate.storage import tmx
XML_LANG = "{http://www.w3.org/XML/1998/namespace}lang"
total = 0
with open(sys.argv[1], "rb") as f:
    store = tmx.tmxfile(f)
for unit in store.units:
    segments = {}
    for node in unit.getlanguageNodes():
        language = (node.get(XML_LANG) or node.get("lang") or "").lower().replace("_", "-")
        for wanted in ("en", "de"):
            if wanted not in segments and (language == wanted or language.startswith(wanted + "-")):
                text = " ".join(unit.getNodeText(node).split())
                if text:
                    segments[wanted] = text
    if len(segments) == 2:
        total += len(segments["en"]) + len(segments["de"])
print(total)
"""


def generated(data, units):
    path = data / f"memory-{units}.tmx"
    if not path.exists():
        part = path.with_suffix(".part")
        with open(part, "wb") as out:
            subprocess.run(["build/bin/gen_tmx", str(units), "2026"], stdout=out, check=True)
        part.rename(path)
    return path


def timed(argv, reps, env):
    best, peak = float("inf"), 0.0
    with tempfile.NamedTemporaryFile() as report:
        for _ in range(reps):
            subprocess.run(["/usr/bin/time", "-f", "%e %M", "-o", report.name, *argv], stdout=subprocess.DEVNULL,
                           check=True, env=env)
            seconds, kib = open(report.name).read().split()
            best, peak = min(best, float(seconds)), max(peak, int(kib) / 1024)
    return best, peak


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--data", default="build/bench-data")
    parser.add_argument("--units", default="30000,300000,3000000")
    parser.add_argument("--reps", type=int, default=3)
    args = parser.parse_args()
    data = pathlib.Path(args.data)
    data.mkdir(parents=True, exist_ok=True)
    env = dict(os.environ, PYTHONPATH="build/python")
    print(f"{'units':>9} {'reader':<24} {'time (s)':>9} {'peak (MiB)':>11}")
    for units in map(int, args.units.split(",")):
        path = generated(data, units)
        readers = [("quillon.read_units", ["/usr/bin/python3", "-c", QUILLON, str(path)]),
                   ("quillon.read_pairs", ["/usr/bin/python3", "-c", QUILLON_PAIRS, str(path)])]
        if units == 300000:
            readers += [("translate-toolkit units", ["/usr/bin/python3", "-c", TRANSLATE_TOOLKIT, str(path)]),
                        ("translate-toolkit pairs", ["/usr/bin/python3", "-c", TRANSLATE_TOOLKIT_PAIRS, str(path)])]
        for name, argv in readers:
            seconds, peak = timed(argv, args.reps, env)
            print(f"{units:>9} {name:<24} {seconds:>9.2f} {peak:>11.1f}", flush=True)


if __name__ == "__main__":
    sys.exit(main())
