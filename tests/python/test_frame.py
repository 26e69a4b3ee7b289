import datetime
import decimal

import pytest

import qelstd
import _qelstd_testing
from qelstd import Empty, QelError, Variant

D = decimal.Decimal

# Automation type codes used below.
vbInteger, vbLong, vbSingle, vbDouble, vbCurrency, vbDate, vbString = 2, 3, 4, 5, 6, 7, 8
vbBoolean, vbDecimal, vbByte = 11, 14, 17


def test_values_cross_both_ways():
    cases = [
        (Empty, 0, Empty),
        (True, vbBoolean, True),
        (7, vbLong, 7),
        (2**40, vbDecimal, D(2**40)),
        (1.5, vbDouble, 1.5),
        (D("1.50"), vbDecimal, D("1.5")),
        ("año", vbString, "año"),
        (datetime.datetime(2006, 3, 15, 10, 30), vbDate, datetime.datetime(2006, 3, 15, 10, 30)),
        (b"\x00\xff", 8209, b"\x00\xff"),
    ]
    for value, vartype, back in cases:
        v = Variant(value, vartype)
        assert v.vartype == vartype, value
        assert v.value == back, value
    assert Variant(None, 1).value is None


def test_variant_converts_to_exact_types(es_cl):
    assert Variant("1.234,5", vbDecimal).value == D("1234.5")
    assert Variant(3.5, vbInteger).value == 4
    assert Variant(datetime.date(2006, 3, 15), vbString).value == "15-03-2006"
    assert Variant("1,23456", vbCurrency).value == D("1.2346")
    assert Variant("255", vbByte).value == 255


@pytest.mark.parametrize(
    "value, vartype, number, text",
    [
        ("abc", vbLong, 13, "No coinciden los tipos"),
        (None, vbLong, 94, "Uso no válido de Null"),
        (2**100, vbLong, 6, "Desbordamiento"),
    ],
)
def test_conversion_errors_raise_qelerror(value, vartype, number, text):
    with pytest.raises(QelError) as info:
        Variant(value, vartype)
    assert info.value.Number == number
    assert info.value.Description == text
    assert info.value.Source == "QelStd1"


def test_chained_error_keeps_number_and_sources():
    with pytest.raises(QelError) as info:
        _qelstd_testing.RaiseChainedForTesting(
            -2147024809, "InvalidParity", "RUT '1-k' con dígito verificador incorrecto",
            ["QelStd1.CRut:", "QelGlobal.CmpToRut:", "QelGlobal.QelCompare:"])
    e = info.value
    assert e.Number == -2147024809
    assert e.Source == "QelGlobal.QelCompare:QelGlobal.CmpToRut:QelStd1.CRut:InvalidParity"
    assert str(e) == e.Description


def test_unsupported_python_values_are_type_errors():
    with pytest.raises(TypeError):
        Variant(object(), vbString)


def test_create_object_and_self():
    loc = qelstd.CreateObject("QelLocale")
    assert isinstance(loc, qelstd.QelLocale)
    assert loc.Self == loc
    assert loc.GetInterfaceSafetyOptions(1, 2, 3) == 0
    with pytest.raises(QelError) as info:
        qelstd.CreateObject("QelNothing")
    assert info.value.Number == 429


def test_locale_members(es_cl):
    loc = qelstd.QelLocale()
    assert (loc.sDecimal(), loc.sDate()) == (",", "-")
    assert loc.iDate(Locale="en_US.UTF-8") == 0
    with pytest.raises(QelError) as info:
        qelstd.SetThreadLocale("xx_YY")
    assert info.value.Number == -2147467259
