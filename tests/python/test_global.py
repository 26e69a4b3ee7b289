import decimal

import pytest

import qelstd
from qelstd import QelError


def numeric_field(value):
    r = qelstd.QelRecord()
    r.DefLayout("T")
    r.AddField("N", qelstd.qelTypeNumeric, 9, 2)
    r.EndLayout(True)
    r["N"].SetValue(1, value)
    return r


def test_compare_in_the_host_number_style_as_member_and_module_function(es_cl):
    r = numeric_field(decimal.Decimal("1234.5"))
    for compare in (qelstd.QelCompare, qelstd.QelGlobal().QelCompare):
        assert compare(r["N"], Value2="1.234,50") == 0
        assert compare(r["N"], 1, "1.234,51", 1) == -1
        assert compare(Field=r["N"], Value2=r["N"]) == 0
    assert qelstd.QelConvert(r["N"], "1.234,5", WithQelFormat=True) == decimal.Decimal("1234.5")


def test_an_omitted_value_fails_where_empty_converts(es_cl):
    r = numeric_field(decimal.Decimal("0"))
    for compare in (qelstd.QelCompare, qelstd.QelGlobal().QelCompare):
        assert compare(r["N"], 1, qelstd.Empty) == 0
        assert compare(r["N"], Value2=None) == 1
        with pytest.raises(qelstd.QelError) as info:
            compare(r["N"])
        assert info.value.Number == 13
        assert info.value.Source.startswith("QelGlobal.QelCompare:QelGlobal.CmpToNumber:")
    assert qelstd.QelConvert(r["N"], qelstd.Empty) == 0


def test_cobol_compare_and_to_decimal(es_cl):
    g = qelstd.QelGlobal()
    for cobol in (qelstd.CobolCompare, g.CobolCompare):
        assert cobol(10, Value2="9,5") == 1
        assert cobol(Value1="10", Value2="9,5") == -1
    assert qelstd.ToDecimal(Value=" -1.234,50 ") == decimal.Decimal("-1234.5")
    with pytest.raises(QelError) as info:
        g.ToDecimal(None)
    assert info.value.Source.startswith("QelGlobal.ToDecimal:")
