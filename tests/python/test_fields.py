import datetime
import decimal
import hashlib
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
    for validate, fmt in ((qelstd.QelValidateRUT, qelstd.QelFormatRUT),
                          (g.QelValidateRUT, g.QelFormatRUT)):
        assert validate("12.345.678-5", 10) == "0123456785"
        assert validate("12345678-?", AllowUnknown=True, ComputeUnknown=True) == "123456785"
        assert fmt(123456785, ThousandSep=True) == "12.345.678-5"
    assert error_of(lambda: qelstd.QelValidateRUT("1-k")) == (
        E_INVALIDARG, "QelStd1.QelValidateRUT:InvalidParity",
        "RUT '1-k' con dígito verificador incorrecto")


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


def signature(name, lines, total):
    """A signature text with its digest, computed here independently of the library."""
    fed = "SD:1.0:" + name + "".join(lines) + "CS:%d:%s" % (total, name)
    digest = hashlib.md5(fed.encode("cp1252")).hexdigest().upper()
    return "\r\n".join(
        ["SD:1.0:%s:2006-03-29:14:05:09" % name, *lines, "CS:%d:%s:%s" % (total, name, digest)]
    )


CLIENT = signature(
    "CLIENTE",
    ["X:10:NOMBRE", "N:12.2:MONTO", "LB:120.4:ITEMS", "X:10:CODE", "N:20.2:AMT",
     "LE:120:ITEMS", "D:8:FECHA", "R:10.1:RUT", "S:5.2:SALDO"],
    165,
)


@pytest.fixture
def fields(es_cl):
    f = qelstd.QelRecordFields()
    f.Layout = CLIENT
    return f


def test_layout_builds_a_collection(fields):
    assert (fields.Name, fields.Length, fields.Count, len(fields)) == ("CLIENTE", 165, 9, 9)
    assert fields.Layout == CLIENT
    assert [f.Name for f in fields] == ["NOMBRE", "MONTO", "ITEMS", "CODE", "AMT", "ITEMS",
                                        "FECHA", "RUT", "SALDO"]
    assert fields["monto"] == fields.Item(2) == fields.Find("MONTO")
    assert fields.Find("NADA") is None and "NADA" not in fields and "rut" in fields
    monto = fields["MONTO"]
    assert (monto.DataType, monto.Precision, monto.Default) == (
        qelstd.qelTypeNumeric, 2, decimal.Decimal(0))
    assert [f.Name for f in fields["ITEMS"].ListFields] == ["CODE", "AMT"]
    assert monto.ListFields is None
    assert error_of(lambda: fields["NADA"]) == (
        E_INVALIDARG, "QelRecordFields.Item", "El campo 'NADA' no existe en el registro 'CLIENTE'")


def test_values_cross_as_python_values(fields):
    fields["NOMBRE"].SetValue(value="Ana")
    fields["MONTO"].SetValue(value=decimal.Decimal("1234.567"))
    fields["FECHA"].SetValue(value=datetime.datetime(2006, 3, 15))
    fields["RUT"].SetValue(value="12.345.678-5")
    fields["SALDO"].SetValue(value=-12.345)
    fields["AMT"].SetValue(3, 7)
    assert [fields[n].Value() for n in ("NOMBRE", "MONTO", "FECHA", "RUT", "SALDO")] == [
        "Ana", decimal.Decimal("1234.56"), datetime.datetime(2006, 3, 15), "12345678-5",
        decimal.Decimal("-12.34")]
    assert fields["AMT"].Value(3) == 7 and fields["AMT"].Value(Index=1) == 0
    assert fields["RUT"].Text() == "12.345.678-5"
    assert fields["SALDO"].Data() == "0123\u00b4"


def test_raw_access_fill_and_null(fields):
    nombre = fields["NOMBRE"]
    nombre.SetData(value="abcdefghij")
    nombre.SetMid(3, 2, value="XY")
    assert nombre.Mid(Start=3, Length=3) == "XYe"
    nombre.Fill = None
    assert nombre.Data() is None and nombre.Value() is None and nombre.IsNull()  # the null mark
    with pytest.raises(AttributeError):
        nombre.Fill
    assert fields["AMT"].Validate(1, Index=4) and not fields["AMT"].Validate(1, 5)
    assert error_of(lambda: fields["MONTO"].SetValue(value="abc")) == (
        13, "QelRecordField.ValueLet",
        "No se pudo cambiar el valor del campo 'MONTO'\r\nNo coinciden los tipos")


def test_change_event_and_errors_from_handlers(fields):
    seen = []
    code = fields["CODE"]
    handle = code.Connect("Change", seen.append)
    code.SetValue(2, "x")
    code.Fill = "y"
    assert seen == [2, 1, 2, 3, 4]
    assert code.Disconnect(handle)

    def refuse(index):
        raise QelError("rechazado")

    code.Connect("Change", refuse)
    assert error_of(lambda: code.SetValue(1, "z"))[1] == "QelRecordField.ValueLet"
    assert code.Value(1) == "z", "the data was written before the handler ran"


def test_record_data_buffer():
    d = qelstd.QelRecordData()
    assert d.SignANSI is qelstd.QelDefaultSignANSI is False
    d.Data = "abc"
    d.SetSlot(5, 2, None)
    assert d.Slot(Start=5, Length=2) == "  "
    d.Pad(8)
    assert d.Data == "abc     " and d.Length == 8
    fields = qelstd.CreateObject("QelRecordFields")
    fields.RecordData = d
    assert fields.RecordData == d
    assert error_of(lambda: qelstd.CreateObject("QelRecordField"))[0] == 429
