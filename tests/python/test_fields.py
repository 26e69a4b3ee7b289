import threading

import pytest

import qelstd
from qelstd import QelError

E_INVALIDARG = -2147024809


def error_of(call):
    with pytest.raises(QelError) as info:
        call()
    e = info.value
    return e.Number, e.Source, e.Description


def test_rut_routines_as_module_functions_and_global_members(es_cl):
    g = qelstd.QelGlobal()
    for validate in (qelstd.QelValidateRUT, g.QelValidateRUT):
        assert validate("12.345.678-5") == "123456785"
        assert validate("12.345.678-5", 10) == "0123456785"
        assert validate("12345678-?", AllowUnknown=True, ComputeUnknown=True) == "123456785"
    for fmt in (qelstd.QelFormatRUT, g.QelFormatRUT):
        assert fmt("0123456785", True) == "12.345.678-5"
        assert fmt("0123456785") == "12345678-5"
        assert fmt(123456785, ThousandSep=True) == "12.345.678-5"


def test_rut_errors_carry_chained_sources():
    assert error_of(lambda: qelstd.QelValidateRUT("1-k")) == (
        E_INVALIDARG,
        "QelStd1.QelValidateRUT:InvalidParity",
        "RUT '1-k' con dígito verificador incorrecto",
    )
    assert error_of(lambda: qelstd.QelFormatRUT("12A4")) == (
        13,
        "QelStd1.QelFormatRUT:QelStd1",
        "No coinciden los tipos",
    )


def test_global_object_is_one_per_thread():
    g = qelstd.QelGlobal()
    assert g == qelstd.QelGlobal() == qelstd.CreateObject("QelGlobal")
    assert g.GlobalSelf == g == qelstd.GlobalSelf
    assert isinstance(g.Locale, qelstd.QelLocale)
    assert isinstance(qelstd.Sid, qelstd.QelLanguage)
    others = []
    t = threading.Thread(target=lambda: others.append(qelstd.QelGlobal()))
    t.start()
    t.join()
    assert others[0] != g


def test_sign_default_is_a_module_attribute_per_thread():
    assert qelstd.QelDefaultSignANSI is False
    qelstd.QelDefaultSignANSI = True
    try:
        assert qelstd.QelGlobal().QelDefaultSignANSI is True
        seen = []
        t = threading.Thread(target=lambda: seen.append(qelstd.QelDefaultSignANSI))
        t.start()
        t.join()
        assert seen == [False]
    finally:
        qelstd.QelDefaultSignANSI = False
    with pytest.raises(AttributeError):
        qelstd.Locale = None
