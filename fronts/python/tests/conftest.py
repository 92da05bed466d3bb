import numpy as np
import pytest

import vimra
from vimra import _vimra

ISAS = ["standard", "sse2", "avx", "avx2", "avx512"]
ISA_VALUES = {"standard": 0, "sse2": 1, "avx": 5, "avx2": 7, "avx512": 8}
DTYPES = [np.int8, np.uint8, np.int16, np.uint16, np.int32, np.uint32, np.float32]


def available_isas():
    return [i for i in ISAS if _vimra.instruction_set_available(ISA_VALUES[i])]


@pytest.fixture(params=ISAS)
def isa(request):
    if not _vimra.instruction_set_available(ISA_VALUES[request.param]):
        pytest.skip(f"processor lacks {request.param}")
    return request.param


def need(name):
    """The operation, or a visible skip where this build of the library lacks it."""
    if not hasattr(vimra, name):
        pytest.skip(f"the library has no {name} operation yet")
    return getattr(vimra, name)


def random_array(rng, shape, dtype, low=None, high=None):
    dtype = np.dtype(dtype)
    if dtype.kind == "f":
        lo = -1000.0 if low is None else low
        hi = 1000.0 if high is None else high
        return rng.uniform(lo, hi, size=shape).astype(dtype)
    if dtype.kind == "b":
        return rng.integers(0, 2, size=shape).astype(bool)
    info = np.iinfo(dtype)
    lo = info.min if low is None else max(low, info.min)
    hi = info.max if high is None else min(high, info.max)
    return rng.integers(lo, hi, size=shape, endpoint=True, dtype=np.int64).astype(dtype)
