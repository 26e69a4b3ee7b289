import json
import os
import shutil
import subprocess
from decimal import Decimal
from pathlib import Path

import pytest

DATA = Path(__file__).parent / "data"


def descriptors(signature):
    return signature.split("\r\n")[1:-1]


def test_import_maps_pictures_groups_fillers_and_the_map(qel):
    r = qel("layout", "import", "--map", DATA / "cliente.map", DATA / "cliente.cpy")
    assert r.status == 0, r.err
    assert r.out.startswith("SD:1.0:CLIENTE-REG:")
    assert descriptors(r.out) == [
        "X:20:CLI_NOMBRE", "A:4:CLI_CODIGO", "R:10.1:CLI_RUT", "D:8:CLI_FECHA", "S:9.2:CLI_SALDO",
        "X:2:FILLER_1", "LB:42.3:CLI_ITEMS", "N:3:ITM_CANT", "N:7.2:ITM_PRECIO",
        "S:4.1:ITM_AJUSTE", "LE:42:CLI_ITEMS", "X:1:CLI_ESTADO"]
    assert "CS:96:CLIENTE-REG:" in r.out


def test_free_form_copybook_with_a_name_of_our_own(qel):
    cpy = ("*> forma libre\n01 R.\n  03 A PIC X(3) VALUE 'a. b'.\n  03 FILLER PIC 9(2)V9(3).\n"
           "  03 G.\n    05 B PIC S999 USAGE DISPLAY.\n  03 FILLER PIC XX.\n")
    r = qel("layout", "import", "--name", "propio", "-", input=cpy)
    assert r.status == 0, r.err
    assert descriptors(r.out) == ["X:3:A", "N:5.3:FILLER_1", "S:3:B", "X:2:FILLER_2"]
    assert "CS:13:PROPIO:" in r.out


def fixed(*lines):
    return "".join("       " + l + "\n" for l in lines)


@pytest.mark.parametrize("cpy,message", [
    (fixed("01 R.", "   05 A PIC X(4).", "   05 B REDEFINES A PIC 9(4)."),
     "<stdin>:3: REDEFINES no se admite (B)"),
    (fixed("01 R.", "   05 A PIC S9(5) COMP-3."), "<stdin>:2: USAGE COMP-3 no se admite"),
    (fixed("01 R.", "   05 A PIC 9(5)", "        BINARY."), "<stdin>:3: USAGE BINARY no se admite"),
    (fixed("01 R.", "   05 A PIC ZZ9.99."), "<stdin>:2: PIC ZZ9.99 no se admite"),
    (fixed("01 R.", "   05 L OCCURS 2.", "      10 M OCCURS 2.", "         15 X PIC X."),
     "<stdin>:3: OCCURS dentro de OCCURS no se admite"),
    (fixed("01 R.", "   05 A PIC X OCCURS 3."), "<stdin>:2: OCCURS en el campo elemental A"),
    (fixed("01 R.", "   05 L OCCURS 1 TO 5 DEPENDING ON N.", "      10 X PIC X."),
     "<stdin>:2: OCCURS DEPENDING no se admite"),
    (fixed("01 R.", "   05 A PIC X(3).", "01 S.", "   05 B PIC X."), "<stdin>:3: el copybook describe más de un registro"),
    (fixed("05 A PIC X."), "<stdin>:1: falta el nivel 01"),
    (fixed("01 R.", "   05 A PIC X(3)"), "<stdin>:2: falta el punto final"),
    (fixed("01 R.", "   05 A PIC X(3).", "   05 A PIC X(3)."), "<stdin>:3: error 457"),
    (fixed("01 R.", "   05 A PIC X(9999999)."), "<stdin>:2: repetición fuera de rango"),
    (fixed("01 R.", "   05 A PIC X(3) SYNONYM."), "<stdin>:2: cláusula no reconocida: SYNONYM"),
    ("", "<stdin>: el copybook no describe ningún registro"),
])
def test_import_refuses_what_a_layout_cannot_say_naming_the_line(qel, cpy, message):
    r = qel("layout", "import", "-", input=cpy)
    assert r.status == 1
    assert message in r.err


def test_a_map_naming_no_item_is_an_error(qel, tmp_path):
    m = tmp_path / "m.map"
    m.write_text("NO-ESTA D\n")
    r = qel("layout", "import", "--map", m, DATA / "cliente.cpy")
    assert r.status == 1 and "el mapa nombra NO-ESTA" in r.err


def test_records_written_by_gnucobol_read_back_field_by_field(qel, tmp_path):
    cobc = shutil.which("cobc")
    if cobc is None:
        pytest.skip("cobc no está instalado (scripts/setup.sh instala gnucobol3)")
    # EBCDIC-style sign marks: the last digit of a negative number as "}" or "J".."R".
    subprocess.run([cobc, "-x", "-fsign=EBCDIC", "-I", DATA, "-o", tmp_path / "escribe",
                    DATA / "escribe.cob"], check=True, cwd=tmp_path)
    subprocess.run([tmp_path / "escribe"], check=True, cwd=tmp_path)
    sig = tmp_path / "cliente.sig"
    assert qel("layout", "import", "--map", DATA / "cliente.map", DATA / "cliente.cpy",
               "-o", sig).status == 0
    r = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "jsonl",
            tmp_path / "clientes.dat")
    assert r.status == 0, r.err
    records = [json.loads(l, parse_float=Decimal) for l in r.out.splitlines()]
    assert len(records) == 5
    for i, rec in enumerate(records, start=1):
        assert rec["CLI_NOMBRE"] == f"CLIENTE {i:03}"
        assert rec["CLI_CODIGO"] == "ABCD"
        assert rec["CLI_RUT"] == "12345678-5"
        assert rec["CLI_FECHA"] == f"2006-03-{i:02}"
        assert Decimal(rec["CLI_SALDO"]) == i * Decimal("1234.56") - 5000
        assert rec["FILLER_1"] == "" and rec["CLI_ESTADO"] == "A"
        for j, item in enumerate(rec["CLI_ITEMS"], start=1):
            assert item["ITM_CANT"] == i * j
            assert Decimal(item["ITM_PRECIO"]) == i * Decimal("100.25") + j
            assert Decimal(item["ITM_AJUSTE"]) == j - i - Decimal("0.5")


def test_deepest_nesting_and_many_fields_in_linear_time(qel):
    deep = "".join(f"{' ' * (level % 20)}{level:02} G{level}.\n" for level in range(1, 49))
    deep += "   49 HOJA PIC X.\n"
    r = qel("layout", "import", "-", input=deep)
    assert r.status == 0, r.err
    assert descriptors(r.out) == ["X:1:HOJA"]
    assert qel("layout", "import", "-", input=deep.replace("49 HOJA", "50 HOJA")).status == 1
    many = "01 R.\n" + "".join(f" 05 F{i} PIC 9(3)V9.\n" for i in range(10000))
    r = qel("layout", "import", "-", input=many, timeout=30)
    assert r.status == 0, r.err
    assert len(descriptors(r.out)) == 10000


def test_a_mapped_field_of_a_length_its_type_cannot_have_is_refused(qel, tmp_path):
    m = tmp_path / "m.map"
    m.write_text("CLI-RUT D\n")  # PIC X(10): no date has ten characters
    r = qel("layout", "import", "--map", m, DATA / "cliente.cpy")
    assert r.status == 1 and r.out == ""
    assert "cliente.cpy:2: error -2147024809" in r.err
    assert "El descriptor de campo 'D:10:CLI_RUT' es inválido" in r.err
