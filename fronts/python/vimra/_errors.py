"""Errors raised by vimra. Every refusal carries the library's or the binding's
message; the classes also derive from the built-in ValueError or TypeError so
code written against NumPy's conventions catches them."""


class VimraError(Exception):
    """Base of every error vimra raises."""


class VimraValueError(VimraError, ValueError):
    """A rule of the operation failed: sizes, shapes, axes, values."""


class VimraTypeError(VimraError, TypeError):
    """An element type, dtype or buffer type the operation cannot take."""


def library_error(kind):
    """The class for a failure of the native part ("type" or "value")."""
    return VimraTypeError if kind == "type" else VimraValueError
