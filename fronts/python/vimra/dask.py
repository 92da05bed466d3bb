"""vimra on Dask arrays: every operation of vimra as a function of dask
arrays, run block by block.

    import vimra.dask as vd
    total = vd.add(x, y)                         # map_blocks, one library thread per block
    smooth = vd.formula("(I1[-1,0] + I1 + I1[1,0]) / 3", I1=x, border="mirror")  # map_overlap

Element-wise operations run through map_blocks (chunks of the inputs are
unified first). Formulas run through map_overlap with the depth the compiled
formula reads around a pixel; no boundary is added at the image's edges, so the
library applies the formula's own border there, as in a single call over the
whole image. Operations between images of different geometry take the small
image whole, each block getting the part of it over that block. Results equal
the single call's bit for bit, whatever the chunking.
"""

import builtins
import re

import dask.array as da
import numpy as np

import vimra

from . import _core
from ._errors import VimraTypeError, VimraValueError
from ._formula import Formula, _operation, formula_arguments
from ._ops import kind_of

__all__ = ["formula"]

_POSITION = re.compile(r"\b(x|y|z|width|height|depth)\b")


def _contiguous(block):
    # Blocks cut across the last axis are views with gaps, and blocks received
    # from another process may sit at any byte address; the library takes
    # contiguous memory aligned for its elements, so such a block is copied
    # (it is task data, not the caller's).
    return np.require(block, requirements=["C", "A"])


def _as_dask(name, a, like=None):
    if isinstance(a, da.Array):
        return a
    if isinstance(a, np.ndarray):
        return da.from_array(a, chunks=like.chunks if like is not None and like.shape == a.shape else "auto")
    raise VimraTypeError(f"{name} must be a dask or NumPy array, not {type(a).__name__}")


def _sample_dtypes(function, info, values, images):
    """The output dtypes of an operation for these input dtypes: the promotion
    table where it answers, else one tiny run."""
    types = [_core.buffer_type(images[i].dtype) for i in sorted(images)]
    answered = [vimra.result_type(info["name"], *[_core.DTYPES[t] for t in types], output=k)
                for k in range(len(info["outputs"]))]
    if all(t is not None for t in answered):
        return answered
    tiny = list(values)
    for i, a in images.items():
        tiny[i] = np.zeros((1,) * a.ndim, dtype=a.dtype)
    result = function(*tiny, threads=1)
    results = result if isinstance(result, tuple) else (result,)
    return [r.dtype for r in results]


def _make(name, info):
    function = getattr(vimra, name)
    kind = kind_of(info)
    params = info["arguments"]

    def run(*args, threads=1, isa=None, axes=None, **kwargs):
        values = list(args) + [None] * (len(params) - len(args))
        for key, v in kwargs.items():
            names = [p["name"] for p in params]
            if key not in names:
                raise VimraTypeError(f"{name}() has no argument {key!r}")
            values[names.index(key)] = v
        images = {i: v for i, (p, v) in enumerate(zip(params, values)) if p["kind"] == "image" and v is not None}
        if not images:
            raise VimraValueError(f"{name}() needs at least one image")
        first_index = builtins.min(images)
        first = _as_dask(params[first_index]["name"], images[first_index])
        dtypes = _sample_dtypes(function, info, values, images)
        outputs = len(info["outputs"])
        options = dict(threads=threads, isa=isa)

        if kind == "mixed":
            # The small images go whole to every block, which cuts out its part.
            arrays = {first_index: first}
            axes_first = _core.parse_axes(axes, first.ndim)
            small = {i: np.asarray(v) for i, v in images.items() if i != first_index}

            def block_function(block, pick, block_info=None):
                location = block_info[0]["array-location"]
                call = list(values)
                call[first_index] = _contiguous(block)
                for i, s in small.items():
                    cut = tuple(slice(lo, hi) for lo, hi in location[first.ndim - s.ndim:])
                    call[i] = _contiguous(s[cut])
                result = function(*call, axes=axes_first, **options)
                return result[pick] if outputs > 1 else result

            return _per_output(lambda pick, dt: da.map_blocks(block_function, first, pick=pick, dtype=dt,
                                                              meta=np.empty((0,) * first.ndim, dt)), dtypes)

        arrays = {i: _as_dask(params[i]["name"], v, first) for i, v in images.items()}
        for i, a in arrays.items():
            if a.shape != first.shape:
                raise VimraValueError(f"{name}(): {params[i]['name']} has shape {a.shape}, the first image "
                                      f"{first.shape}")
            arrays[i] = a.rechunk(first.chunks)  # blocks pair up one to one
        order = sorted(arrays)

        def block_function(*blocks, pick):
            call = list(values)
            for i, b in zip(order, blocks):
                call[i] = _contiguous(b)
            result = function(*call, **options) if kind == "elementwise" else function(*call, axes=axes, **options)
            return result[pick] if outputs > 1 else result

        return _per_output(lambda pick, dt: da.map_blocks(block_function, *[arrays[i] for i in order], pick=pick,
                                                          dtype=dt, meta=np.empty((0,) * first.ndim, dt)), dtypes)

    run.__name__ = run.__qualname__ = name
    run.__module__ = __name__
    run.__doc__ = (f"{name}() of vimra over dask arrays, block by block (one library thread per block by "
                   f"default).\n\n{function.__doc__}")
    return run


def _per_output(build, dtypes):
    arrays = [build(k, dt) for k, dt in enumerate(dtypes)]
    return arrays[0] if len(arrays) == 1 else tuple(arrays)


def formula(text, *, border=None, axes=None, dtype=None, threads=1, isa=None, **images):
    """vimra.formula over dask arrays through map_overlap, with the formula's
    halo as depth. The images must share one shape and one chunking (unified here)."""
    if not images:
        raise VimraValueError("formula() needs at least one image")
    arrays = {k: _as_dask(k, v) for k, v in images.items()}
    first = next(iter(arrays.values()))
    for k, a in arrays.items():
        if a.shape != first.shape:
            raise VimraValueError(f"formula(): {k} has shape {a.shape}, the first image {first.shape}")
        arrays[k] = a.rechunk(first.chunks)
    axes = _core.parse_axes(axes, first.ndim)
    volume = "Z" in axes
    compiled = text if isinstance(text, Formula) else Formula(text, volume=volume)
    if compiled._info["uses_coordinates"] or _POSITION.search(compiled._info["normal_form"]):
        raise VimraValueError("formulas that read x, y, z, width, height or depth depend on where a block lies; "
                              "run them with vimra.formula on the whole image")
    before, after = compiled.halo
    # This module defines min and max as operations: the builtins by their full names.
    reach = {"X": builtins.max(before[0], after[0]), "Y": builtins.max(before[1], after[1]),
             "Z": builtins.max(before[2], after[2])}
    depth = {k: reach.get(c, 0) for k, c in enumerate(axes)}
    names = list(arrays)
    function, info = _operation(volume)
    kwargs = formula_arguments(info, compiled.text, {k: None for k in names}, border)
    targets = [next(key for key, v in formula_arguments(info, compiled.text, {k: 0}, None).items() if v == 0)
               for k in names]
    probe = {k: np.zeros((1,) * first.ndim, dtype=a.dtype) for k, a in arrays.items()}
    out_dtype = np.dtype(dtype) if dtype is not None else vimra.formula(compiled.text, border=border, axes=axes,
                                                                         **probe).dtype

    def block_function(*blocks):
        call = dict(kwargs)
        for target, b in zip(targets, blocks):
            call[target] = _contiguous(b)
        return function(axes=axes, threads=threads, isa=isa, dtype=dtype, **call)

    return da.map_overlap(block_function, *arrays.values(), depth=depth, boundary="none", trim=True,
                          dtype=out_dtype, meta=np.empty((0,) * first.ndim, out_dtype), align_arrays=True)


for _name, _info in vimra._OPERATIONS.items():
    if kind_of(_info) == "formula":
        continue  # formula() above, with the overlap its halo needs
    globals()[_name] = _make(_name, _info)
    __all__.append(_name)
del _name, _info
