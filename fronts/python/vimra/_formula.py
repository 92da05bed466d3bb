"""Formulas: vimra.Formula (the compiled formula, checked without running it)
and vimra.formula (a formula run over arrays by the library's formula
operations, through the same generated functions as every operation)."""

import re
import sys

from . import _vimra
from ._errors import VimraError, VimraTypeError, VimraValueError

_INPUT = re.compile(r"^([IBL])([1-9])$")
_ROLE = {"I": "img", "B": "bin_img", "L": "lab_img"}


class Formula:
    """A formula compiled by the library's formula facility.

    Formula("0.5*I1 + I2[1,0]").inputs -> ('I1', 'I2'); .halo gives the
    neighbourhood it reads, per axis x, y, z, before and after the pixel;
    explain() the facility's account. Invalid text raises VimraValueError
    with the diagnostic. Pickled as its text (and dimension), so formulas
    travel to Dask workers cheaply."""

    def __init__(self, text, volume=False):
        if not isinstance(text, str):
            raise VimraTypeError(f"a formula is a string, not {type(text).__name__}")
        self._text = text
        self._volume = bool(volume)
        self._info = _vimra.explain_formula(text, self._volume)
        if not self._info["valid"]:
            raise VimraValueError("invalid formula: " + "\n".join(self._info["diagnostics"]))

    @property
    def text(self):
        return self._text

    @property
    def volume(self):
        return self._volume

    @property
    def inputs(self):
        """Names of the images the formula reads ('I1', 'B2', 'L3'), in identifier order."""
        return tuple(self._info["inputs"])

    @property
    def halo(self):
        """((before_x, before_y, before_z), (after_x, after_y, after_z)): how far the formula reads around a pixel."""
        return tuple(self._info["halo_before"]), tuple(self._info["halo_after"])

    @property
    def logical(self):
        """True when the formula's result is a truth value (a binary image by default)."""
        return self._info["logical"]

    def explain(self):
        return self._info["text"]

    def __reduce__(self):
        return (Formula, (self._text, self._volume))

    def __repr__(self):
        return f"Formula({self._text!r}{', volume=True' if self._volume else ''})"

    def __call__(self, **kwargs):
        return formula(self, **kwargs)


def _operation(volume):
    module = sys.modules[__package__]
    name = "formula3d" if volume else "formula2d"
    for candidate in (name, name + "_img"):
        if hasattr(module, candidate):
            return getattr(module, candidate), module._OPERATIONS[candidate]
    raise VimraError(f"this build of the library has no {name} operation")


def formula_arguments(info, text, images, border):
    """Keyword arguments of the formula operation `info` for a text, images named I1..L3 and a border."""
    kwargs = {}
    names = [a["name"] for a in info["arguments"]]
    text_arg = next((a["name"] for a in info["arguments"] if a["kind"] == "text" and "formula" in a["name"]), None)
    if text_arg is None:
        raise VimraError(f"{info['name']} takes no formula text")
    kwargs[text_arg] = text
    for key, array in images.items():
        m = _INPUT.match(key)
        if not m:
            raise VimraTypeError(f"formula(): {key!r} is not an input name (I1..I3, B1..B3, L1..L3)")
        role, n = _ROLE[m.group(1)], m.group(2)
        pattern = re.compile(rf"^{role}(3d)?{n}$")
        target = next((x for x in names if pattern.match(x)), None)
        if target is None:
            raise VimraValueError(f"formula(): {info['name']} has no input {key}")
        kwargs[target] = array
    if border is not None:
        target = next((x for x in names if "border" in x), None)
        if target is None:
            raise VimraValueError(f"formula(): {info['name']} takes no border")
        kwargs[target] = border
    return kwargs


def formula(text, *, border=None, axes=None, out=None, dtype=None, threads=None, isa=None, casting="no",
            progress=None, **images):
    """Runs a formula over arrays: vimra.formula("0.5*I1 + I2", I1=a, I2=b, border="mirror").
    The formula's images are its keyword arguments; axes= as for the other
    operations (a Z axis makes it a 3d formula)."""
    first = next(iter(images.values()), None)
    ndim = getattr(first, "ndim", 2)
    volume = "Z" in (axes.upper() if isinstance(axes, str) else ("ZYX" if ndim == 3 else "YX"))
    if isinstance(text, Formula):
        text = text.text
    function, info = _operation(volume)
    kwargs = formula_arguments(info, text, images, border)
    return function(out=out, dtype=dtype, axes=axes, threads=threads, isa=isa, casting=casting, progress=progress,
                    **kwargs)
