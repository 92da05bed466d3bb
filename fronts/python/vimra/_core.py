"""Arrays to images and back, argument checking and runs: everything the
generated operation functions share."""

import atexit
import concurrent.futures
import math
import threading

import numpy as np

from . import _vimra
from ._errors import VimraError, VimraTypeError, VimraValueError

# Buffer types of the library (eImageBufferType values) per NumPy dtype. bool
# arrays are binary images: one byte per pixel, 0 or 1.
BUFFER_TYPES = {
    np.dtype(np.int8): 1,
    np.dtype(np.uint8): 2,
    np.dtype(np.int16): 3,
    np.dtype(np.uint16): 4,
    np.dtype(np.int32): 5,
    np.dtype(np.uint32): 6,
    np.dtype(np.float32): 7,
    np.dtype(np.bool_): 8,
}
# The dtype of a created output. Binary and label images come back as their
# element type: a binary image's bytes are not guaranteed to be 0 or 1.
DTYPES = {
    1: np.dtype(np.int8),
    2: np.dtype(np.uint8),
    3: np.dtype(np.int16),
    4: np.dtype(np.uint16),
    5: np.dtype(np.int32),
    6: np.dtype(np.uint32),
    7: np.dtype(np.float32),
    8: np.dtype(np.uint8),
    9: np.dtype(np.uint16),
    10: np.dtype(np.uint32),
    11: np.dtype(np.uint8),
}
# Conversions `casting="same_kind"` allows (one copy each): the nearest type of
# the same kind the library has.
SAME_KIND = {
    np.dtype(np.float64): np.dtype(np.float32),
    np.dtype(np.float16): np.dtype(np.float32),
    np.dtype(np.int64): np.dtype(np.int32),
    np.dtype(np.uint64): np.dtype(np.uint32),
}
INSTRUCTION_SETS = {"standard": 0, "sse2": 1, "avx": 5, "avx2": 7, "avx512": 8}
AXIS_ORDER = "TCZYX"

# Runs of fewer elements stay on the calling thread without a watcher: they end
# before Ctrl-C could matter, and a thread start would cost more than the work.
_SMALL_RUN = 1 << 20

_settings = threading.local()
_default_threads = 0


def set_num_threads(n):
    """Worker threads each call may use (0: all the library has). threads= overrides it per call."""
    global _default_threads
    if not isinstance(n, (int, np.integer)) or n < 0:
        raise VimraValueError(f"set_num_threads needs a count >= 0, not {n!r}")
    _default_threads = int(n)


def get_num_threads():
    return _default_threads


def buffer_type(dtype):
    """The library's buffer type for a NumPy dtype; VimraTypeError for the others."""
    dt = np.dtype(dtype)
    if dt not in BUFFER_TYPES:
        raise VimraTypeError(f"dtype {dt} has no image type; use one of "
                             "int8, uint8, int16, uint16, int32, uint32, float32 or bool")
    return BUFFER_TYPES[dt]


def check_dtype(name, a, casting):
    """`a` itself when its dtype is an image type; a converted copy where `casting` allows one."""
    if a.dtype in BUFFER_TYPES:
        return a
    target = SAME_KIND.get(a.dtype)
    if target is not None and casting in ("same_kind", "unsafe"):
        return np.ascontiguousarray(a, dtype=target)
    fix = f"{name}.astype(np.{target})" if target is not None else f"{name}.astype(np.float32)"
    allowed = " or pass casting='same_kind'" if target is not None else ""
    raise VimraTypeError(f"{name} has dtype {a.dtype}, which no image type holds: pass {fix}{allowed}")


def check_array(name, a, writable=False):
    if not isinstance(a, np.ndarray):
        raise VimraTypeError(f"{name} must be a NumPy array, not {type(a).__name__}")
    if writable and not a.flags.writeable:
        raise VimraValueError(f"{name} is read-only; pass a writeable array")
    if not a.flags.aligned:
        raise VimraValueError(f"{name} is not aligned for its {a.dtype} elements; pass np.require({name}, "
                              "requirements='CA')")
    if not a.flags.c_contiguous and not _vimra.is_library_array(a):
        raise VimraValueError(f"{name} is not C-contiguous (strides {a.strides}); pass np.ascontiguousarray({name})")


def parse_axes(axes, ndim, name="axes"):
    """The axes string of an ndim-d array: given, or YX / ZYX by default."""
    if axes is None:
        if ndim == 2:
            return "YX"
        if ndim == 3:
            return "ZYX"
        raise VimraValueError(f"a {ndim}-d array needs {name}= (e.g. 'CYX', 'TCZYX'): channels are never guessed")
    if not isinstance(axes, str):
        raise VimraTypeError(f"{name} must be a string such as 'ZYX', not {type(axes).__name__}")
    axes = axes.upper()
    if len(axes) != ndim:
        raise VimraValueError(f"{name}={axes!r} names {len(axes)} axes for a {ndim}-d array")
    if set(axes) - set(AXIS_ORDER) or len(set(axes)) != len(axes) or not axes.endswith("YX"):
        raise VimraValueError(f"{name}={axes!r}: use each of T, C, Z at most once, then Y and X last")
    order = [AXIS_ORDER.index(c) for c in axes]
    if order != sorted(order):
        wanted = "".join(c for c in AXIS_ORDER if c in axes)
        raise VimraValueError(f"{name}={axes!r}: images store planes in the order {wanted}; pass "
                              f"np.ascontiguousarray(np.moveaxis(...)) with axes={wanted!r}")
    return axes


def image_layout(a, axes):
    """(buffer type, x, y, z, c, t, 3d, multi-channel, sequence) of an array with axes."""
    sizes = dict(zip(axes, a.shape))
    return (BUFFER_TYPES[a.dtype], sizes["X"], sizes["Y"], sizes.get("Z", 1), sizes.get("C", 1),
            sizes.get("T", 1), "Z" in axes, "C" in axes, "T" in axes)


def flat_layout(a):
    """An array of any shape as one 2d image: rows of its last axis."""
    x = a.shape[-1] if a.ndim else 1
    y = math.prod(a.shape[:-1]) if a.ndim > 1 else 1
    if a.size == 0:
        raise VimraValueError(f"array of shape {a.shape} is empty")
    return (BUFFER_TYPES[a.dtype], x, y, 1, 1, 1, False, False, False)


def pick_axes(canonical, axes):
    """The (t, c, z, y, x) array of a created image seen with the given axes, without a copy."""
    return canonical[tuple(slice(None) if c in axes else 0 for c in AXIS_ORDER)]


def instruction_set(isa):
    if isa is None:
        return -1
    try:
        return INSTRUCTION_SETS[str(isa).lower().replace("-", "").replace("_", "")]
    except KeyError:
        raise VimraValueError(f"isa={isa!r}: use one of {', '.join(INSTRUCTION_SETS)}") from None


def thread_count(threads):
    if threads is None:
        return _default_threads
    if not isinstance(threads, (int, np.integer)) or threads < 0:
        raise VimraValueError(f"threads={threads!r}: give a count >= 0 (0: all)")
    return int(threads)


# ---- running ----------------------------------------------------------------------------------


class Call:
    """One prepared call: the native run and the arrays it uses (kept alive with it)."""

    def __init__(self, name, args, outs, threads, isa, finish, elements):
        self.keep = (args, outs)
        self.run = _vimra.Run(name, list(args), list(outs), threads, isa)
        self.finish = finish
        self.elements = elements

    def results(self):
        arrays = self.run.outputs([DTYPES.get(t, np.dtype(np.uint8)) for t in self.run.output_types()])
        return self.finish(arrays)

    def __call__(self):
        """Runs on the calling thread; Ctrl-C cancels a long run and raises KeyboardInterrupt."""
        if self.elements < _SMALL_RUN:
            self.run.execute()
            return self.results()
        self.run.start()
        try:
            while not self.run.wait(0.05):  # the GIL is free while waiting; signals are seen between waits
                pass
        except BaseException:
            self.run.cancel()
            self.run.wait()
            raise
        return self.results()


class RunFuture(concurrent.futures.Future):
    """The future of an `_async` call. cancel() stops the library's run (the
    future then reads cancelled; a given `out=` is left as after Ctrl-C)."""

    def __init__(self, call):
        super().__init__()
        self._call = call

    def cancel(self):
        if self.done():
            return False
        self._call.run.cancel()
        return super().cancel()


def submit(call):
    call.run.start()
    future = RunFuture(call)

    def watch():
        call.run.wait()
        with _watchers_lock:
            _watchers.pop(threading.current_thread(), None)
        if not future.set_running_or_notify_cancel():
            return
        try:
            result = call.results()
        except BaseException as e:  # handed to the future's waiter
            future.set_exception(e)
        else:
            future.set_result(result)

    watcher = threading.Thread(target=watch, name="vimra-run", daemon=True)
    with _watchers_lock:
        _watchers[watcher] = call.run
    watcher.start()
    return future


# Runs still going when the interpreter exits are cancelled and waited for: the
# library's threads must not outlive the objects the process tears down at exit.
_watchers = {}
_watchers_lock = threading.Lock()


def _finish_runs_at_exit():
    with _watchers_lock:
        pending = list(_watchers.items())
    for _, run in pending:
        run.cancel()
    for watcher, _ in pending:
        watcher.join()


atexit.register(_finish_runs_at_exit)


def report(progress, done, total):
    if progress is not None:
        progress(done, total)


__all__ = ["VimraError", "set_num_threads", "get_num_threads"]
