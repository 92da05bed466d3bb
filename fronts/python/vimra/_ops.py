"""The operation functions, generated from the library's catalogue: one
function and one `_async` function per operation, with the operation's own
argument names, tool tip and output type rules."""

import math

import numpy as np

from . import _core, _vimra
from ._errors import VimraTypeError, VimraValueError

_COMMON = ("out", "dtype", "axes", "casting", "threads", "isa", "progress")


def kind_of(info):
    """How arrays map to images: 'formula' (a text argument), 'mixed' (an image
    broadcast over another's planes) or 'elementwise' (any shape, all equal)."""
    if any(a["kind"] == "text" for a in info["arguments"]):
        return "formula"
    if info["name"].startswith("generic_"):
        return "mixed"
    return "elementwise"


def _bind(info, args, kwargs):
    """Argument values in catalogue order from positional and keyword arguments."""
    params = info["arguments"]
    name = info["name"]
    if len(args) > len(params):
        raise VimraTypeError(f"{name}() takes {len(params)} arguments, {len(args)} given")
    values = list(args) + [None] * (len(params) - len(args))
    given = [True] * len(args) + [False] * (len(params) - len(args))
    index = {p["name"]: i for i, p in enumerate(params)}
    for key, value in kwargs.items():
        if key not in index:
            raise VimraTypeError(f"{name}() has no argument {key!r}; its arguments: {', '.join(index)}")
        if given[index[key]]:
            raise VimraTypeError(f"{name}() got {key!r} twice")
        values[index[key]], given[index[key]] = value, True
    for p, v in zip(params, values):
        if v is None and not p["optional"]:
            raise VimraTypeError(f"{name}() is missing its argument {p['name']!r}")
    return values


def _value(info, p, v):
    """A non-image argument as the native side takes it."""
    if v is None:
        return None
    kind = p["kind"]
    if kind == "number":
        if isinstance(v, np.ndarray) and v.ndim == 0:
            v = v.item()
        if not isinstance(v, (int, float, np.integer, np.floating)) or isinstance(v, bool):
            raise VimraTypeError(f"{info['name']}(): {p['name']} must be a number, not {type(v).__name__}")
        return float(v)
    if kind == "range":
        try:
            lo, hi = v
            return (float(lo), float(hi))
        except (TypeError, ValueError):
            raise VimraTypeError(f"{info['name']}(): {p['name']} must be a (min, max) pair") from None
    if kind == "buffer_type":
        return _core.buffer_type(v)
    if kind == "text":
        if not isinstance(v, str):
            raise VimraTypeError(f"{info['name']}(): {p['name']} must be a string")
        return v
    raise VimraTypeError(f"{info['name']}(): {p['name']} cannot be given from Python")


def _outputs(info, out, dtype):
    n = len(info["outputs"])
    if out is not None and dtype is not None:
        raise VimraValueError(f"{info['name']}(): give out= or dtype=, not both")
    if out is None:
        return None, None if dtype is None else (list(dtype) if isinstance(dtype, (tuple, list)) else [dtype] * n)
    outs = list(out) if isinstance(out, (tuple, list)) else [out]
    if len(outs) != n:
        raise VimraValueError(f"{info['name']}() has {n} output(s); out= gave {len(outs)}")
    return outs, None


class Prepared:
    """Checked arrays and how they map to images, for one call."""

    def __init__(self, info, args, kwargs, out, dtype, axes, casting):
        self.info = info
        self.kind = kind_of(info)
        values = _bind(info, args, kwargs)
        params = info["arguments"]
        self.images = []  # (position, array)
        for i, (p, v) in enumerate(zip(params, values)):
            if p["kind"] == "image" and v is not None:
                label = p["name"]
                if not isinstance(v, np.ndarray):
                    raise VimraTypeError(f"{info['name']}(): {label} must be a NumPy array, not {type(v).__name__}")
                v = _core.check_dtype(label, v, casting)
                _core.check_array(label, v)
                values[i] = v
                self.images.append((i, v))
        if not self.images:
            raise VimraValueError(f"{info['name']}() needs at least one image")
        first = self.images[0][1]
        if self.kind == "elementwise":
            for i, a in self.images[1:]:
                if a.shape != first.shape:
                    raise VimraValueError(f"{info['name']}(): {params[i]['name']} has shape {a.shape}, "
                                          f"{params[self.images[0][0]]['name']} {first.shape}: shapes must be equal")
            self.axes = None
            self.shape = first.shape
            layout = _core.flat_layout
        else:
            self.axes = _core.parse_axes(axes, first.ndim)
            self.shape = first.shape
            own = {self.images[0][0]: self.axes}
            for i, a in self.images[1:]:
                if self.kind == "mixed":
                    own[i] = _core.parse_axes(self.axes[-a.ndim:] if a.ndim <= len(self.axes) else None, a.ndim,
                                              f"axes of {params[i]['name']}")
                else:
                    if a.shape != first.shape:
                        raise VimraValueError(f"{info['name']}(): every input needs shape {first.shape}; "
                                              f"{params[i]['name']} has {a.shape}")
                    own[i] = self.axes

            def layout(a, _i=None):
                return _core.image_layout(a, own[_i])
        self.values = []
        for i, (p, v) in enumerate(zip(params, values)):
            if p["kind"] == "image":
                if v is None:
                    self.values.append(None)
                else:
                    self.values.append((v, layout(v) if self.kind == "elementwise" else layout(v, i)))
            else:
                self.values.append(_value(info, p, v))
        self.outs, dtypes = _outputs(info, out, dtype)
        if dtypes is not None:
            self.outs = [np.empty(self.shape, dtype=np.dtype(dt)) for dt in dtypes if _core.buffer_type(dt)]
        self.out_given = out is not None
        self.out_layouts = None
        if self.outs is not None:
            layouts = []
            for k, o in enumerate(self.outs):
                label = "out" if len(self.outs) == 1 else f"out[{k}]"
                if not isinstance(o, np.ndarray):
                    raise VimraTypeError(f"{label} must be a NumPy array, not {type(o).__name__}")
                if o.dtype not in _core.BUFFER_TYPES:
                    raise VimraTypeError(f"{label} has dtype {o.dtype}, which no image type holds; "
                                         "allocate it as int8 .. uint32, float32 or bool")
                _core.check_array(label, o, writable=True)
                if o.shape != self.shape:
                    raise VimraValueError(f"{label} has shape {o.shape}; this call writes {self.shape}")
                layouts.append((o, _core.flat_layout(o) if self.kind == "elementwise" else _core.image_layout(o, self.axes)))
            self.out_layouts = layouts

    def finish(self, arrays):
        """Shapes the outputs: the caller's own arrays, or the created ones seen with the inputs' axes."""
        if self.outs is not None:
            result = list(self.outs)
        elif self.kind == "elementwise":
            result = [a.reshape(self.shape) for a in arrays]
        else:
            result = [_core.pick_axes(a, self.axes) for a in arrays]
        return result[0] if len(result) == 1 else tuple(result)

    def call(self, threads, isa):
        return _core.Call(self.info["name"], self.values, self.out_layouts or [], threads, isa, self.finish,
                          math.prod(self.shape))


def _progress_bar(progress, total, name):
    if progress != "tqdm" and progress is not True:
        return progress, None
    from tqdm import tqdm  # only when asked for

    bar = tqdm(total=total, desc=name, unit="px", unit_scale=True)

    def update(done, _total):
        bar.update(done - bar.n)

    return update, bar


def _run_chunked(prepared, threads, isa, progress):
    """An element-wise call in bands of rows, each a call of its own, reporting
    progress between bands on the calling thread. The outputs are allocated
    first (by the operation's type rule) so that the bands write into them."""
    info = prepared.info
    total = math.prod(prepared.shape)
    if prepared.outs is None:
        types = [_core.BUFFER_TYPES[a.dtype] for _, a in prepared.images]
        result_types = [_vimra.result_type(info["name"], k, types) for k in range(len(info["outputs"]))]
        if any(t is None for t in result_types):
            _core.report(progress, 0, total)
            result = prepared.call(threads, isa)()
            _core.report(progress, total, total)
            return result
        prepared.outs = [np.empty(prepared.shape, dtype=_core.DTYPES[t]) for t in result_types]
    rows = math.prod(prepared.shape[:-1]) if len(prepared.shape) > 1 else 1
    width = total // rows
    bands = max(1, min(rows, 20))
    step = -(-rows // bands)
    _core.report(progress, 0, total)
    for r0 in range(0, rows, step):
        r1 = min(rows, r0 + step)
        def band(a):
            view = a.reshape(rows, width)[r0:r1]
            return (view, _core.flat_layout(view))

        values = [band(v[0]) if isinstance(v, tuple) and isinstance(v[0], np.ndarray) else v
                  for v in prepared.values]
        outs = [band(o) for o in prepared.outs]
        _core.Call(info["name"], values, outs, threads, isa, lambda arrays: None, (r1 - r0) * width)()
        _core.report(progress, r1 * width, total)
    return prepared.finish(None)


def make(info):
    """The function and the `_async` function of one operation."""
    name = info["name"]

    def function(*args, out=None, dtype=None, axes=None, casting="no", threads=None, isa=None, progress=None,
                 **kwargs):
        prepared = Prepared(info, args, kwargs, out, dtype, axes, casting)
        threads, isa = _core.thread_count(threads), _core.instruction_set(isa)
        if progress is None:
            return prepared.call(threads, isa)()
        report, bar = _progress_bar(progress, math.prod(prepared.shape), name)
        try:
            if prepared.kind == "elementwise":
                return _run_chunked(prepared, threads, isa, report)
            total = math.prod(prepared.shape)
            _core.report(report, 0, total)
            result = prepared.call(threads, isa)()
            _core.report(report, total, total)
            return result
        finally:
            if bar is not None:
                bar.close()

    def function_async(*args, out=None, dtype=None, axes=None, casting="no", threads=None, isa=None, **kwargs):
        prepared = Prepared(info, args, kwargs, out, dtype, axes, casting)
        return _core.submit(prepared.call(_core.thread_count(threads), _core.instruction_set(isa)))

    function.__name__ = function.__qualname__ = name
    function_async.__name__ = function_async.__qualname__ = name + "_async"
    function.__module__ = function_async.__module__ = "vimra"  # found there: pickled by reference
    function.__doc__ = docstring(info)
    function_async.__doc__ = (f"As {name}(), started at once; returns a concurrent.futures.Future of its "
                              "result that keeps the arrays alive. cancel() stops the run.")
    return function, function_async


def signature(info):
    """The Python signature of an operation, as text (for stubs and docstrings)."""
    kinds = {"image": "np.ndarray", "number": "float", "range": "tuple[float, float]",
             "buffer_type": "np.dtype", "text": "str", "other": "object"}
    parts = []
    optional_seen = False
    for p in info["arguments"]:
        t = kinds[p["kind"]]
        if p["optional"]:
            optional_seen = True
            parts.append(f"{p['name']}: {t} | None = None")
        elif optional_seen:
            # A required argument after optional ones (a formula's text after its
            # optional images) can only be given by name.
            if "*" not in parts:
                parts.append("*")
            parts.append(f"{p['name']}: {t}")
        else:
            parts.append(f"{p['name']}: {t}")
    return ", ".join(parts)


def docstring(info):
    lines = [f"{info['tool_tip']}.", "", f"{info['name']}({signature(info)}, *, out=None, dtype=None, "
             "axes=None, casting='no', threads=None, isa=None, progress=None)", ""]
    lines.append("Arguments:")
    for p in info["arguments"]:
        extra = f", optional (default {p['default']:g})" if p["optional"] and p["kind"] == "number" else (
            ", optional" if p["optional"] else "")
        lines.append(f"  {p['name']}: {p['kind']}{extra}  [{p['attribute']}]")
    lines.append("Outputs:")
    for o in info["outputs"]:
        lines.append(f"  {o['name']}: {o['type_rule'] or 'type chosen by the operation'}")
    lines += ["", f"Library entry function: {info['entry']} ({info['class_name']})."]
    return "\n".join(lines)
