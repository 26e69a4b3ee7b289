"""qelstd: the record engine, property bags and desktop services for host transaction clients.

Every public class, property, method, event and enumeration of the C++ library is here under
its own name. Values cross as Python values (see the Variant class for exact automation types);
errors raise QelError with Number, Source and Description.

Conventions:
  - A property without arguments is an attribute (rec.Sequence = 95). A property with
    arguments is a method Name(...) for reading and SetName(..., value) for writing: the
    positional arguments are the property's arguments followed by the value, and a lone
    positional argument is the value (fld.SetValue(10), fld.SetValue(2, 10),
    fld.SetValue(value=10, Index=2)).
  - Collections: len(c) is Count, iteration walks a snapshot, c[key] is Item(key). For a
    record, rec[name] is the field (not its value); for labels, labels[code] is the label.
  - An optional argument left out is not the same as qelstd.Empty passed explicitly.
  - Events: obj.Connect("Change", handler) returns a handle for obj.Disconnect(handle).
    A handler that refers back to its object is collected with it by the garbage collector.
    An event argument passed by reference is the handler's return value (a QelDdeTopic
    "QueryItem" handler returns the item's value; None leaves it unset).
"""
import enum as _enum
import sys as _sys
import types as _types

from ._qelstd import *  # noqa: F401,F403
from ._qelstd import QelError, Empty, EmptyType, Variant, CreateObject, SetThreadLocale  # noqa: F401
from ._qelstd import QelGlobal
from . import _qelstd


def _enumeration(name, prefix, doc, exclude=()):
    members = {n: getattr(_qelstd, n) for n in dir(_qelstd)
               if n.startswith(prefix) and n not in exclude}
    cls = _enum.IntEnum(name, sorted(members.items(), key=lambda item: item[1]))
    cls.__doc__ = doc
    cls.__module__ = __name__
    return cls


QelFieldTypes = _enumeration(
    "QelFieldTypes", "qelType",
    "Field types: qelTypeList (begin of a repeated group), qelTypeText, qelTypeNumeric, "
    "qelTypeSigned, qelTypeDate, qelTypeRut, qelTypeAlpha, qelTypeListEnd.")
QelFormatTypes = _enumeration(
    "QelFormatTypes", "qelFormat",
    "Forms of a property bag's text: qelFormatNormal (compact), qelFormatIndented, "
    "qelFormatPostData (URL-encoded form data).")
QelOpCodes = _enumeration("QelOpCodes", "qelOpcode",
                          "Operation codes of the transaction header (QelRecord.OpCode).")
QelReplyCodes = _enumeration("QelReplyCodes", "qelRcode",
                             "Reply codes of the transaction header (QelRecord.ReplyCode).")
QelProtectionCodes = _enumeration(
    "QelProtectionCodes", "qelProtection",
    "Protection codes of the transaction header (QelRecord.Protection).")
QelLabelCodes = _enumeration(
    "QelLabelCodes", "qelLabel",
    "Label codes (QelRecordLabels): the character of a label in the link text is "
    "code & qelLabelCodeMask.")
QelInetSchemes = _enumeration(
    "QelInetSchemes", "qelScheme",
    "URL scheme numbers (QelInet.Scheme): qelSchemeHttp 3, qelSchemeHttps 4, ...")
QelHttpOptions = _enumeration(
    "QelHttpOptions", "qelHttpOpt",
    "Request options (a bit set): qelHttpOptRequestGzip asks for gzip; "
    "qelHttpOptCompressData is accepted and ignored.")


class _Module(_types.ModuleType):
    """The package module, which also answers the global object's properties: reading or
    assigning qelstd.QelDefaultSignANSI reads or assigns it on the calling thread's QelGlobal."""


def _global_property(name):
    def get(_module):
        return getattr(QelGlobal(), name)

    def set_(_module, value):
        setattr(QelGlobal(), name, value)

    return property(get, set_, doc=getattr(QelGlobal, name).__doc__)


for _name in ("GlobalSelf", "QelDefaultSignANSI", "Locale", "Sid"):
    setattr(_Module, _name, _global_property(_name))
del _name
_sys.modules[__name__].__class__ = _Module
