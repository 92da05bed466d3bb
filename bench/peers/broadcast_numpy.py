#!/usr/bin/python3
"""NumPy peer of bench/GenericBench.cpp: one 512x512 plane applied to every plane of
a 512x512x256 stack by broadcasting (np.add(volume, plane, out=...) for uint16,
np.multiply(sequence, plane, out=...) for float32), preallocated output, one thread.
Prints the median time per call and the GB/s of the same byte count as ours
(the stack read and written, the plane once)."""

import statistics
import time

import numpy as np


def measure(call, repetitions=5):
    call()
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def main():
    rng = np.random.default_rng(14)
    for name, dtype, fn in (("add/u16", np.uint16, np.add), ("multiply/f32", np.float32, np.multiply)):
        if dtype == np.uint16:
            stack = rng.integers(0, 65536, size=(256, 512, 512), dtype=np.uint16)
            plane = rng.integers(0, 65536, size=(512, 512), dtype=np.uint16)
        else:
            stack = rng.uniform(1, 257, size=(256, 512, 512)).astype(np.float32)
            plane = rng.uniform(1, 257, size=(512, 512)).astype(np.float32)
        out = np.zeros_like(stack)
        seconds = measure(lambda: fn(stack, plane, out=out))
        nbytes = plane.nbytes * (2 * stack.shape[0] + 1)
        print(f"numpy/{name}/512x512x256/threads:1  {seconds * 1e3:9.2f} ms  {nbytes / seconds / 1e9:6.2f} GB/s")


if __name__ == "__main__":
    main()
