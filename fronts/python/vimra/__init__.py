"""vimra: the VIMRA arithmetic library on NumPy arrays.

Every operation of the library is a function here, generated from the
library's catalogue when the module is imported:

    vimra.add(a, b)                          # new array, promoted type
    vimra.add(a, b, out=c)                   # into c, in place
    vimra.multiply_add(a, factor=2, offset=0.5)
    rho, theta = vimra.cartesian_to_polar(x, y)
    future = vimra.add_async(a, b)           # concurrent.futures.Future

Arrays are used in place, never copied or converted: inputs and out= must be
C-contiguous with an image dtype (int8, uint8, int16, uint16, int32, uint32,
float32, or bool for binary images); anything else is a TypeError or
ValueError naming the fix. Element-wise operations take arrays of any equal
shape; formulas and operations between images of different geometry take
axes= ('YX', 'ZYX', 'CYX', 'TCZYX', ...; default YX for 2-d, ZYX for 3-d).

The GIL is released while the library runs; Ctrl-C stops a long run and
raises KeyboardInterrupt. An output the library created is then dropped; an
out= array holds, element by element, either its previous value or the result.
"""

from . import _vimra
from ._core import get_num_threads, set_num_threads
from ._errors import VimraError, VimraTypeError, VimraValueError
from ._ops import kind_of, make

__all__ = ["VimraError", "VimraValueError", "VimraTypeError", "set_num_threads", "get_num_threads",
           "result_type", "operations", "formula", "Formula"]

_OPERATIONS = {info["name"]: info for info in _vimra.operations()}


def operations():
    """Descriptions of every operation: name, library entry, arguments, outputs."""
    return [dict(info) for info in _OPERATIONS.values()]


def result_type(operation, *dtypes, output=0):
    """The dtype a created output of `operation` gets for inputs of these dtypes
    (the library's promotion tables), or None where it does not follow from them:
    vimra.result_type("add", np.uint8, np.int16) -> dtype('int16')."""
    from ._core import DTYPES, buffer_type

    name = operation.replace("-", "_")
    if name not in _OPERATIONS:
        raise VimraValueError(f"no operation named {operation!r}")
    t = _vimra.result_type(name, output, [buffer_type(d) for d in dtypes])
    return None if t is None else DTYPES[t]


for _name, _info in _OPERATIONS.items():
    _f, _fa = make(_info)
    globals()[_name] = _f
    globals()[_name + "_async"] = _fa
    __all__ += [_name, _name + "_async"]
del _name, _info, _f, _fa

from ._formula import Formula, formula  # noqa: E402  (uses the generated functions)
