#!/usr/bin/python3
"""NumPy and numexpr peers of the benchmark harness.

Runs the workloads that the C++ benchmark programs register (their names are
read from a `--benchmark_list_tests` listing), on the very same input pixels
(`pixels()` is the twin of the generator in bench/BenchCommon.h), with
preallocated outputs, and writes the medians in the layout of Google
Benchmark's JSON output so that bench/report.py reads both alike.

NumPy's element-wise functions run on one thread: they are measured once, as
threads:1. numexpr is measured at every thread count of the listing.

Run it with Debian's interpreter (/usr/bin/python3), which has python3-numpy and
python3-numexpr.
"""

import argparse
import json
import os
import platform
import re
import statistics
import sys
import time

import numpy as np

try:
    import numexpr as ne
except ImportError:  # numexpr is optional: NumPy alone still gives a peer
    ne = None

DTYPES = {"u8": np.uint8, "i16": np.int16, "f32": np.float32}
BLEND_WEIGHT = 0.3  # vimra::bench::s_blendWeight
NAME = re.compile(
    r"^(?P<impl>[^/]+)/(?P<op>[a-z]+)/(?P<type>[a-z0-9]+)/(?P<w>\d+)x(?P<h>\d+)"
    r"/threads:(?P<threads>\d+)(?P<rest>(/[a-z]+:[^/]+)*)$")


def mix(i, seed):
    """Twin of vimra::bench::mix: all arithmetic modulo 2^32."""
    with np.errstate(over="ignore"):
        x = i * np.uint32(2654435761) + np.uint32((seed * 0x9E3779B9) & 0xFFFFFFFF)
        x ^= x >> np.uint32(15)
        x *= np.uint32(0x2C1B3C6D)
        x ^= x >> np.uint32(12)
    return x


def pixels(type_name, width, height, seed):
    """Input image as bench/BenchCommon.h fills it (fillU8, fillI16, fillF32)."""
    i = np.arange(width * height, dtype=np.uint32)
    x = mix(i, seed)
    if type_name == "u8":
        v = (x >> np.uint32(24)).astype(np.uint8)
        if seed == 2:
            v |= np.uint8(1)
    elif type_name == "i16":
        v = (x >> np.uint32(16)).astype(np.uint16).view(np.int16)
    elif type_name == "f32":
        v = (x >> np.uint32(8)).astype(np.float32) * np.float32(2.0**-16) + np.float32(1.0)
    else:
        raise ValueError(f"unknown element type {type_name!r}")
    return v.reshape(height, width)


def numpy_call(op, type_name, a, b, out):
    """A call that writes `out`, or (out None) that returns a new array."""
    if op == "divide" and type_name != "f32":
        fn = np.floor_divide  # unsigned, divisor never zero: truncation, as ours
    else:
        fn = {"add": np.add, "subtract": np.subtract, "multiply": np.multiply,
              "divide": np.divide, "abs": np.abs, "min": np.minimum, "max": np.maximum}.get(op)
    if fn is None:
        return None
    unary = op == "abs"
    if out is None:
        return (lambda: fn(a)) if unary else (lambda: fn(a, b))
    return (lambda: fn(a, out=out)) if unary else (lambda: fn(a, b, out=out))


def numexpr_call(op, type_name, a, b, out):
    """numexpr computes integers in int32 (and '/' in float64) blocks; with
    casting='unsafe' it stores into the caller's uint8/int16 output, so the
    memory traffic is that of our kernels. Without an output it would create
    an int32 or float64 image: no creating form for integer types."""
    expr = {"add": "a + b", "subtract": "a - b", "multiply": "a * b", "divide": "a / b",
            "abs": "abs(a)", "lincomb": "a * h + b * h", "blend": "a * w + b * (1 - w)"}.get(op)
    if expr is None:
        return None
    # Coefficients as float32 scalars, so that float32 data stays in float32.
    env = {"a": a, "b": b, "h": np.float32(0.5), "w": np.float32(BLEND_WEIGHT)}
    if out is None:
        if type_name != "f32":
            return None
        return lambda: ne.evaluate(expr, local_dict=env)
    return lambda: ne.evaluate(expr, local_dict=env, out=out, casting="unsafe")


def complex_calls(w, h, image, create):
    """Complex products of the "cmul" workload (planes 1, 2: real and imaginary
    parts of the first operand; 3, 4 of the second): numexpr's two calls over the
    four planes, and NumPy's complex64 multiply of the same values interleaved."""
    a, b, c, d = (image("f32", w, h, seed) for seed in (1, 2, 3, 4))
    calls = {}
    z1 = (a + 1j * b).astype(np.complex64)
    z2 = (c + 1j * d).astype(np.complex64)
    if create:
        calls["numpy"] = lambda: np.multiply(z1, z2)
    else:
        z = np.zeros_like(z1)
        calls["numpy"] = lambda: np.multiply(z1, z2, out=z)
    if ne is not None:
        env = {"a": a, "b": b, "c": c, "d": d}
        if create:
            calls["numexpr"] = lambda: (ne.evaluate("a * c - b * d", local_dict=env),
                                        ne.evaluate("a * d + b * c", local_dict=env))
        else:
            re_, im_ = np.zeros_like(a), np.zeros_like(a)
            calls["numexpr"] = lambda: (ne.evaluate("a * c - b * d", local_dict=env, out=re_),
                                        ne.evaluate("a * d + b * c", local_dict=env, out=im_))
    return calls


def measure(call, min_time, repetitions, warmup):
    """Median seconds per call: each repetition times enough calls to last
    min_time (the number is fixed by a calibration run), as Google Benchmark does."""
    end = time.perf_counter() + warmup
    while True:
        call()
        if time.perf_counter() >= end:
            break
    count = 1
    while True:
        start = time.perf_counter()
        for _ in range(count):
            call()
        elapsed = time.perf_counter() - start
        if elapsed >= min_time / 4 or count >= 1 << 24:
            break
        count *= 4 if elapsed < min_time / 40 else 2
    count = max(1, int(count * min_time / max(elapsed, 1e-9)))
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        for _ in range(count):
            call()
        times.append((time.perf_counter() - start) / count)
    return statistics.median(times), times, count


def parse_listing(lines):
    """Distinct (op, type, width, height, create) workloads and the thread counts."""
    workloads, threads = {}, set()
    for line in lines:
        name = line.strip()
        if name.endswith("/real_time"):
            name = name[: -len("/real_time")]
        m = NAME.match(name)
        if not m or m["impl"] == "probe":
            continue
        rest = dict(part.split(":", 1) for part in m["rest"].split("/") if part)
        if rest.get("isa", "best") != "best":
            continue
        key = (m["op"], m["type"], int(m["w"]), int(m["h"]), rest.get("form") == "create")
        workloads[key] = True
        threads.add(int(m["threads"]))
    return list(workloads), sorted(threads)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--workloads", required=True,
                        help="file with a --benchmark_list_tests listing ('-': stdin)")
    parser.add_argument("--out", required=True, help="JSON file to write")
    parser.add_argument("--min-time", type=float, default=0.2)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--warmup", type=float, default=0.05)
    parser.add_argument("--filter", default="", help="regular expression on benchmark names")
    args = parser.parse_args()

    with (sys.stdin if args.workloads == "-" else open(args.workloads)) as f:
        workloads, thread_counts = parse_listing(f)
    if not workloads:
        sys.exit("python_peers: no workloads in the listing")
    name_filter = re.compile(args.filter)

    images = {}

    def image(type_name, w, h, seed):
        """Input image `seed` (1, 2) or, for seed 0, the output of that type and size."""
        key = (type_name, w, h, seed)
        if key not in images:
            if seed == 0:  # an output: allocated and touched before timing, shared
                images[key] = np.zeros((h, w), dtype=DTYPES[type_name])
                images[key][...] = 0  # np.zeros may map untouched pages
            else:
                images[key] = pixels(type_name, w, h, seed)
        return images[key]

    runs = []  # (name, call, bytes per call)
    for op, type_name, w, h, create in workloads:
        a = image(type_name, w, h, 1)
        b = a if op == "abs" else image(type_name, w, h, 2)
        out = None if create else image(type_name, w, h, 0)
        arrays = {"abs": 2, "cmul": 6}.get(op, 3)
        nbytes = w * h * np.dtype(DTYPES[type_name]).itemsize * arrays
        suffix = "/form:create" if create else ""
        stem = f"{op}/{type_name}/{w}x{h}"
        if op == "cmul":
            calls = complex_calls(w, h, image, create)
            runs.append((f"numpy/{stem}/threads:1{suffix}", calls["numpy"], nbytes, 1))
            for t in thread_counts if "numexpr" in calls else []:
                runs.append((f"numexpr/{stem}/threads:{t}{suffix}", calls["numexpr"], nbytes, t))
            continue
        call = numpy_call(op, type_name, a, b, out)
        if call is not None:
            runs.append((f"numpy/{stem}/threads:1{suffix}", call, nbytes, 1))
        if ne is not None:
            call = numexpr_call(op, type_name, a, b, out)
            if call is not None:
                for t in thread_counts:
                    runs.append((f"numexpr/{stem}/threads:{t}{suffix}", call, nbytes, t))

    results = []
    for name, call, nbytes, threads in runs:
        if not name_filter.search(name):
            continue
        if ne is not None:
            ne.set_num_threads(threads)
        median, times, count = measure(call, args.min_time, args.repetitions, args.warmup)
        print(f"{name:<55} {median * 1e6:12.2f} us  {nbytes / median / 1e9:7.2f} GB/s"
              f"  ({count} calls x {args.repetitions})", flush=True)
        results.append({
            "name": name + "_median", "run_name": name, "run_type": "aggregate",
            "aggregate_name": "median", "repetitions": args.repetitions,
            "iterations": count, "real_time": median * 1e6, "time_unit": "us",
            "bytes_per_second": nbytes / median,
            "repetition_times_us": [t * 1e6 for t in times],
        })
        mean = statistics.fmean(times)
        results.append({
            "name": name + "_cv", "run_name": name, "run_type": "aggregate",
            "aggregate_name": "cv", "repetitions": args.repetitions, "time_unit": "us",
            "real_time": statistics.pstdev(times) / mean if len(times) > 1 else 0.0,
        })

    context = {
        "date": time.strftime("%Y-%m-%dT%H:%M:%S%z"),
        "host_name": platform.node(),
        "executable": sys.executable,
        "python_version": platform.python_version(),
        "numpy_version": np.__version__,
        "numexpr_version": ne.__version__ if ne is not None else "not installed",
        "numexpr_vml": str(bool(getattr(ne, "use_vml", False))) if ne is not None else "",
        "load_avg": list(os.getloadavg()),
    }
    with open(args.out, "w") as f:
        json.dump({"context": context, "benchmarks": results}, f, indent=1)


if __name__ == "__main__":
    main()
