"""qelstd: the record engine, property bags and desktop services for host transaction clients.

Every public class, property, method, event and enumeration of the C++ library is here under
its own name. Values cross as Python values (see the Variant class for exact automation types);
errors raise QelError with Number, Source and Description.
"""
import sys as _sys
import types as _types

from ._qelstd import *  # noqa: F401,F403
from ._qelstd import QelError, Empty, Variant, CreateObject, SetThreadLocale  # noqa: F401
from ._qelstd import _testing_raise_chained  # noqa: F401
from ._qelstd import QelGlobal


class _Module(_types.ModuleType):
    """The package module, which also answers the global object's properties: reading or
    assigning qelstd.QelDefaultSignANSI reads or assigns it on the calling thread's QelGlobal."""


def _global_property(name):
    def get(_module):
        return getattr(QelGlobal(), name)

    def set_(_module, value):
        setattr(QelGlobal(), name, value)

    return property(get, set_)


for _name in ("GlobalSelf", "QelDefaultSignANSI", "Locale", "Sid"):
    setattr(_Module, _name, _global_property(_name))
_sys.modules[__name__].__class__ = _Module
