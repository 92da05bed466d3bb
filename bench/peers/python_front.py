#!/usr/bin/python3
"""The Python front's rows of the benchmark table, with their peers measured in
the same run:

- call overhead: a 64x64 uint8 add through vimra against np.add and cv2.add,
  creating the output and into a given one;
- a 4096x4096 float add through vimra against NumPy, numexpr and the same call
  from C++ (read from the C++ benchmark's JSON of this run: the Python call
  should cost within 5% of it);
- a float formula over a 4096x4096xZ volume through vimra.dask on the threaded
  scheduler against the single vimra call and numexpr on the same chunks.

Writes a Markdown table (and the medians as JSON) for scripts/bench.sh.
Run it with PYTHONPATH naming the built package (<build>/python).
"""

import argparse
import json
import os
import re
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from python_peers import measure, pixels  # noqa: E402  (same timing rule and input pixels)

import vimra  # noqa: E402

try:
    import cv2
except ImportError:
    cv2 = None
try:
    import numexpr as ne
except ImportError:
    ne = None


def cpp_median_us(path, pattern):
    """Median microseconds of the C++ benchmark run whose name matches, or None."""
    if not path or not os.path.exists(path):
        return None
    with open(path) as f:
        doc = json.load(f)
    scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}
    for b in doc.get("benchmarks", []):
        if b.get("aggregate_name") == "median" and re.match(pattern, b.get("run_name", "")):
            return b["real_time"] * scale[b.get("time_unit", "ns")]
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cpp", help="JSON of the C++ benchmark program of the same run")
    parser.add_argument("--out", required=True, help="Markdown file to write")
    parser.add_argument("--json", help="medians as JSON")
    parser.add_argument("--min-time", type=float, default=0.2)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--planes", type=int, default=64, help="planes of the formula volume")
    args = parser.parse_args()
    threads = os.cpu_count() or 1

    def time_us(call):
        return measure(call, args.min_time, args.repetitions, 0.05)[0] * 1e6

    rows, medians = [], {}

    def row(workload, name, us, base=None, note=""):
        medians[f"{workload}/{name}"] = us
        ratio = f"{us / base:.2f}" if base and us else ""
        rows.append(f"| {workload} | {name} | {us:.2f} | {ratio} | {note} |")

    # Call overhead on a tiny image.
    a, b = pixels("u8", 64, 64, 1), pixels("u8", 64, 64, 2)
    out = np.empty_like(a)
    base = time_us(lambda: vimra.add(a, b, out=out))
    row("add u8 64x64 into out", "vimra", base, base)
    row("add u8 64x64 into out", "np.add", time_us(lambda: np.add(a, b, out=out)), base)
    if cv2 is not None:
        row("add u8 64x64 into out", "cv2.add", time_us(lambda: cv2.add(a, b, dst=out)), base, "saturates")
    base = time_us(lambda: vimra.add(a, b))
    row("add u8 64x64 new output", "vimra", base, base, "uint16 output")
    row("add u8 64x64 new output", "np.add", time_us(lambda: np.add(a, b)), base, "uint8 output")
    if cv2 is not None:
        row("add u8 64x64 new output", "cv2.add", time_us(lambda: cv2.add(a, b)), base, "uint8, saturates")

    # A large float add, against the same call from C++.
    a, b = pixels("f32", 4096, 4096, 1), pixels("f32", 4096, 4096, 2)
    out = np.empty_like(a)
    base = time_us(lambda: vimra.add(a, b, out=out, threads=threads))
    row("add f32 4096x4096 into out", "vimra", base, base, f"{threads} threads")
    cpp = cpp_median_us(args.cpp, rf"^ours/add/f32/4096x4096/threads:{threads}$")
    if cpp is not None:
        row("add f32 4096x4096 into out", "C++ addImgImg", cpp, base, f"Python costs {100 * (base / cpp - 1):+.1f}%")
    row("add f32 4096x4096 into out", "np.add", time_us(lambda: np.add(a, b, out=out)), base, "1 thread")
    if ne is not None:
        ne.set_num_threads(threads)
        row("add f32 4096x4096 into out", "numexpr", time_us(lambda: ne.evaluate("a + b", local_dict={"a": a, "b": b}, out=out)), base)
    del a, b, out

    # A formula over a volume, blockwise on Dask.
    text = "I1 * 0.5 + I2 * I2"
    if hasattr(vimra, "formula2d") or hasattr(vimra, "formula3d"):
        import dask
        import dask.array as da

        import vimra.dask as vd

        shape = (args.planes, 4096, 4096)
        volume = np.broadcast_to(pixels("f32", 4096, 4096, 1), shape).copy()
        other = np.broadcast_to(pixels("f32", 4096, 4096, 2), shape).copy()
        chunks = (max(1, args.planes // 16), 4096, 4096)
        x, y = da.from_array(volume, chunks=chunks), da.from_array(other, chunks=chunks)
        formula = vd.formula(text, I1=x, I2=y)
        with dask.config.set(scheduler="threads"):
            base = time_us(lambda: formula.compute())
            row(f"formula f32 4096x4096x{args.planes}", "vimra.dask", base, base, f"chunks {chunks}")
            row(f"formula f32 4096x4096x{args.planes}", "vimra single call",
                time_us(lambda: vimra.formula(text, I1=volume, I2=other, threads=threads)), base)
            if ne is not None:
                ne.set_num_threads(1)
                blocks = da.map_blocks(lambda p, q: ne.evaluate("p * 0.5 + q * q", local_dict={"p": p, "q": q}), x, y,
                                       dtype=np.float32)
                row(f"formula f32 4096x4096x{args.planes}", "numexpr on the chunks", time_us(lambda: blocks.compute()),
                    base)
    else:
        rows.append(f"| formula f32 4096x4096x{args.planes} | (this build has no formula operation) | | | |")

    header = ["| workload | implementation | median us | vimra faster by | note |", "|---|---|---:|---:|---|"]
    text_out = "\n".join(["### Python front", "", *header, *rows, ""])
    with open(args.out, "w") as f:
        f.write(text_out)
    if args.json:
        with open(args.json, "w") as f:
            json.dump(medians, f, indent=1)
    print(text_out)


if __name__ == "__main__":
    main()
