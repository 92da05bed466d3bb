#!/usr/bin/python3
"""An image larger than memory, processed chunk by chunk from one Zarr store
into another with vimra.dask.

    python3 examples/python/zarr_blockwise.py [--size 16384] [--planes 32] [--dir /tmp/vimra-zarr]

It writes a synthetic uint16 volume (planes x size x size, chunked by plane
bands) to <dir>/input.zarr, then computes
    out = I1 * 0.5 + 100     (vimra.multiply_add where the library has it,
                              else vimra.multiply and vimra.add)
over it block by block into <dir>/output.zarr, never holding more than a few
chunks in memory, and checks a few chunks against NumPy. The default size
(16384^2 x 32 uint16, 16 GiB) exceeds this machine's memory; --size 2048 runs
in seconds."""

import argparse
import os
import shutil

import dask
import dask.array as da
import numpy as np
import zarr

import vimra
import vimra.dask as vd


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--size", type=int, default=16384)
    parser.add_argument("--planes", type=int, default=32)
    parser.add_argument("--chunk", type=int, default=2048, help="rows and columns of a chunk")
    parser.add_argument("--dir", default="/tmp/vimra-zarr")
    args = parser.parse_args()

    shutil.rmtree(args.dir, ignore_errors=True)
    os.makedirs(args.dir)
    shape = (args.planes, args.size, args.size)
    chunks = (1, args.chunk, args.chunk)

    # The input, written chunk by chunk from a generator (never whole in memory).
    source = da.random.RandomState(1).randint(0, 4096, size=shape, chunks=chunks).astype(np.uint16)
    source.to_zarr(os.path.join(args.dir, "input.zarr"))

    image = da.from_zarr(os.path.join(args.dir, "input.zarr"))
    as_float = vd.multiply(image, da.ones_like(image, dtype=np.float32))  # uint16 x float -> float32
    if hasattr(vd, "multiply_add"):
        result = vd.multiply_add(as_float, factor=0.5, offset=100)
    else:
        result = vd.add(vd.multiply(as_float, da.full_like(as_float, 0.5)), da.full_like(as_float, 100))
    with dask.config.set(scheduler="threads"):
        result.to_zarr(os.path.join(args.dir, "output.zarr"))

    # Spot checks against NumPy, one chunk at a time.
    written = zarr.open(os.path.join(args.dir, "output.zarr"), mode="r")
    original = zarr.open(os.path.join(args.dir, "input.zarr"), mode="r")
    for z in (0, args.planes - 1):
        block = original[z, : args.chunk, : args.chunk].astype(np.float32)
        np.testing.assert_allclose(written[z, : args.chunk, : args.chunk], block * np.float32(0.5) + 100)
    print(f"processed {np.prod(shape) * 2 / 2**30:.1f} GiB in chunks of {chunks}; output in {args.dir}/output.zarr")


if __name__ == "__main__":
    main()
