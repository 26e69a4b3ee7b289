import datetime
import decimal

import pytest

import qelstd
from qelstd import Empty, QelError, QelProp, QelProps, Variant

D = decimal.Decimal
vbInteger, vbCurrency, vbByte, vbSingle = 2, 6, 17, 4


def bag_of(text):
    bag = QelProps()
    bag.LoadFromText(text)
    return bag


def test_collection_protocol_follows_item_and_count():
    bag = bag_of("b=1;A=2;c=[x=1]")
    assert len(bag) == bag.Count == 3
    assert [p.Name for p in bag] == ["b", "A", "c"]
    assert bag["a"].Value == 2
    assert bag[1].Name == "b"
    assert bag["missing"] is None and bag.Item(0) is None
    assert "C" in bag and "z" not in bag
    for p in bag:  # the iteration works on a snapshot
        bag.Remove(p.Name)
    assert len(bag) == 0


def test_value_reads_with_default_and_writes_value_last():
    bag = QelProps()
    assert bag.Value("missing") == Empty
    assert bag.Value("missing", 7) == 7
    bag.SetValue(" a ", 5)
    bag.SetValue("A", Empty, 6)
    bag.SetValue(Key="b", value="x")
    assert [(p.Name, p.Value) for p in bag] == [("a", 6), ("b", "x")]
    assert bag.Item("a").DataType == 3


def test_nested_bags_are_shared_objects():
    inner = QelProps()
    bag = QelProps()
    bag.SetValue("q", inner)
    inner.SetValue("x", 1)
    prop = bag["q"]
    assert prop.IsProps and prop.IsObject and prop.DataType == 9
    assert prop.Props == inner and bag.Value("q") == inner
    assert bag.ToText() == "q=[x=1]"
    clone = bag.Clone()
    assert clone["q"].Props != inner
    assert clone.ToText() == "q=[x=1]"


def test_property_value_attribute_and_object_assignments():
    source = QelProp()
    assert source.Name == "" and source.IsEmpty
    source.Value = "first"
    target = QelProp()
    target.Value = source
    source.Value = "second"
    assert target.Value == "first"
    target.Value = None
    assert target.IsNull and target.StrName == '""'
    with pytest.raises(QelError) as info:
        target.Value = qelstd.QelLocale()
    assert info.value.Number == -2147024809
    assert info.value.Source == "QelProp.ValueSet"
    assert info.value.Description == "Asignación de objeto inválido a la propiedad ''"


def test_python_values_round_trip_through_text(es_cl):
    values = {
        "l": 5,
        "i": Variant(-7, vbInteger),
        "y": Variant(200, vbByte),
        "s": Variant(0.5, vbSingle),
        "d": 0.1,
        "c": Variant(D("1.2345"), vbCurrency),
        "m": D("-1.50"),
        "t": datetime.datetime(2006, 3, 15),
        "b": True,
        "str": 'a "q" \'r\' ;[]\r\nñ€',
        "n": None,
        "e": Empty,
        "bytes": b"\x00\xff",
    }
    bag = QelProps()
    for name, value in values.items():
        bag.SetValue(name, value)
    for form in (qelstd.qelFormatNormal, qelstd.qelFormatIndented):
        back = bag_of(bag.ToText(form))
        assert [p.Name for p in back] == list(values)
        for p in bag:
            assert back[p.Name].DataType == p.DataType, p.Name
            assert back.Value(p.Name) == p.Value, p.Name
    assert bag.ToText().startswith('l=5;i:2="-7";y:17="200";s:4="0,5";d:5="0,1";c:6="1,2345"')


def test_indented_and_post_data_forms(en_us):
    bag = bag_of('n=5;t:7="15/03/2006";q=[x="a b"]')
    assert bag.ToText(qelstd.qelFormatIndented) == (
        'n = 5;\r\nt:7 = "15/03/2006";\r\nq =\r\n[\r\n\tx = "a b"\r\n]\r\n'
    )
    assert bag.ToText(qelstd.qelFormatPostData) == "n=5&t=15%2F03%2F2006&q=x%3D%22a+b%22"
    assert qelstd.qelFormatNormal == 0


def test_syntax_errors_raise_qelerror():
    bag = QelProps()
    with pytest.raises(QelError) as info:
        bag.LoadFromText("A=1;X=;")
    assert info.value.Number == -2147024809
    assert info.value.Source == "QelProps.ToText"
    assert info.value.Description == (
        "Se encontró ';' cuando se esperaba un valor después del símbolo '='"
    )
    assert bag.Value("A") == 1
    with pytest.raises(QelError) as info:
        bag.LoadFromText("a=[" * 5000)
    assert info.value.Number == 28


def test_merge_and_copy():
    target = bag_of("keep=1;q=[x=1;y=2]")
    target.Merge(bag_of("q=[y=3];n=2"))
    assert target.ToText() == "keep=1;q=[x=1;y=3];n=2"
    target.Merge(bag_of("q=[NOMERGE;z=1]"))
    assert target.ToText() == "keep=1;q=[NOMERGE;z=1];n=2"
    target.Merge(None)
    target.Copy(bag_of("a=1"), "sub")
    assert target.Value("sub").ToText() == "a=1"
    target.Copy(None)
    assert len(target) == 0


def test_loaders(tmp_path):
    bag = QelProps()
    bag.LoadFromHttp("HTTP/1.1 404 Not Found\r\nContent-Type: text/html\r\n\r\n")
    assert bag.Value("HTTP_STATUS") == 404
    assert bag.Value("http_message") == "Not Found"
    assert bag.Value("content-type") == "text/html"
    bag.LoadFromURL("http://host/p?a=1&b=x+y%F1&c")
    assert [(p.Name, p.Value) for p in bag] == [("a", "1"), ("b", "x yñ"), ("c", None)]
    bag.LoadFromBytes(b'n="a\xf1o"')
    assert bag.Value("n") == "año"
    path = tmp_path / "bag.txt"
    path.write_bytes('\ufeffn="año"'.encode("utf-8"))
    bag.LoadFromFile(path)
    assert bag.Value("n") == "año"
    with pytest.raises(QelError) as info:
        bag.LoadFromFile(str(tmp_path / "missing"))
    assert info.value.Source == "QelProps.LoadFromFile"
    assert bag.Value("n") == "año"


def test_created_by_name():
    bag = qelstd.CreateObject("QelProps")
    assert isinstance(bag, QelProps) and bag.ClassName == "QelProps"
    assert isinstance(qelstd.CreateObject("QelProp"), QelProp)
    bag.Name = "headers"
    assert bag.Name == "headers"
