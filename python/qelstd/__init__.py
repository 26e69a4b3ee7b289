"""qelstd: the record engine, property bags and desktop services for host transaction clients.

Every public class, property, method, event and enumeration of the C++ library is here under
its own name. Values cross as Python values (see the Variant class for exact automation types);
errors raise QelError with Number, Source and Description.
"""
from ._qelstd import *  # noqa: F401,F403
from ._qelstd import QelError, Empty, Variant, CreateObject, SetThreadLocale  # noqa: F401
from ._qelstd import _testing_raise_chained  # noqa: F401
