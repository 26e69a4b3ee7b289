import os
from pathlib import Path

import pytest

DATA = Path(__file__).parent / "data"


def test_build_then_show_gives_every_field_with_its_place(qel, tmp_path):
    sig = tmp_path / "pedido.sig"
    r = qel("layout", "build", DATA / "pedido.decl", "-o", sig)
    assert r.status == 0, r.err
    text = sig.read_text()
    assert text.startswith("SD:1.0:PEDIDO:")
    assert "LB:112.4:ITEMS" in text and "A:3:NOTA:SIN" in text
    r = qel("layout", "show", sig)
    assert r.status == 0, r.err
    rows = {line.split()[0]: line.split()[1:] for line in r.out.splitlines()[2:]}
    #                 type  start length precision occurrences
    assert rows["RUT"] == ["R", "27", "10", "1", "1"]
    assert rows["ART"] == ["X", "66", "8", "0", "4"]
    assert rows["PRECIO"] == ["N", "79", "9", "2", "4"]
    assert rows["TOTAL"] == ["N", "178", "13", "2", "1"]
    assert "193 caracteres" in r.out.splitlines()[0]


def test_build_reads_stdin_with_a_name_and_numeric_type_codes(qel):
    r = qel("layout", "build", "--name", "mini", "-", input="A 2 5\nB 3 4 1\n")
    assert r.status == 0, r.err
    assert "X:5:A\r\nN:4.1:B\r\n" in r.out


@pytest.mark.parametrize("decl,message", [
    ("A X 5\nB Q 3\n", "pedido.decl:2: error -2147024809 (&H80070057) "
                       "(QelRecord.AddField:Length): El Tipo del campo es inválido"),
    ("A X 0\n", "pedido.decl:1: error -2147024809"),
    ("A X\n", "pedido.decl:1: se esperaba NOMBRE TIPO LARGO"),
    ("A X cinco\n", "pedido.decl:1: el largo no es un número"),
    ("L LB 2\nA X 1\n", "MissingEnd"),
    ("A X 1\nA N 2\n", "pedido.decl:2: error 457"),
])
def test_build_refuses_bad_declarations_naming_the_line(qel, tmp_path, decl, message):
    src = tmp_path / "pedido.decl"
    src.write_text(decl)
    out = tmp_path / "out.sig"
    out.write_text("anterior")
    r = qel("layout", "build", src, "-o", out)
    assert r.status == 1
    assert message in r.err
    assert out.read_text() == "anterior"
    assert sorted(os.listdir(tmp_path)) == ["out.sig", "pedido.decl"]  # no temporary left


def test_show_refuses_an_edited_signature(qel, tmp_path):
    sig = tmp_path / "s.sig"
    text = qel("layout", "build", DATA / "pedido.decl").out
    sig.write_text(text.replace("X:20:CLIENTE", "X:21:CLIENTE"))
    r = qel("layout", "show", sig)
    assert r.status == 1
    assert "La firma no coincide con la definición de campos" in r.err


def test_show_of_a_missing_file(qel, tmp_path):
    r = qel("layout", "show", tmp_path / "no.sig")
    assert r.status == 1 and "No such file" in r.err


@pytest.mark.parametrize("args", [["build"], ["show"], ["rehacer", "x"], ["build", "a", "b"]])
def test_layout_usage_errors(qel, args):
    assert qel("layout", *args).status == 2


def test_build_takes_a_long_declaration(qel):
    decl = "".join(f"F{i} N 3\n" for i in range(50000))
    r = qel("layout", "build", "--name", "grande", "-", input=decl, timeout=30)
    assert r.status == 0, r.err
    assert r.out.count("\r\n") == 50001


def test_build_refuses_a_field_the_signature_reader_would_refuse(qel):
    # AddField takes a date of any length; only the signature's reader knows 4, 6 or 8.
    r = qel("layout", "build", "--name", "f", "-", input="F D 10\n")
    assert r.status == 1 and r.out == ""
    assert "El descriptor de campo 'D:10:F' es inválido" in r.err
