import pytest

BAG = 'N=5;D:7="15/03/2006";Q=[X=1;Y="a ""b"""]'


@pytest.mark.parametrize("action,want", [
    ("to-text", BAG + "\n"),
    ("to-indented", 'N = 5;\r\nD:7 = "15/03/2006";\r\nQ =\r\n[\r\n\tX = 1;\r\n\tY = "a ""b"""\r\n]\r\n\n'),
    ("to-postdata", "N=5&D=15%2F03%2F2006&Q=X%3D1%3BY%3D%22a+%22%22b%22%22%22\n"),
    ("check", ""),
])
def test_props_forms(qel, action, want):
    r = qel("props", action, input=BAG)  # C.UTF-8: dates with "/"
    assert (r.status, r.err) == (0, "")
    assert r.out == want


def test_indented_reads_back_to_the_same_compact_text(qel, tmp_path):
    f = tmp_path / "bolsa.txt"
    f.write_bytes(qel("props", "to-indented", input=BAG).out_bytes)
    assert qel("props", "to-text", f).out == BAG + "\n"


@pytest.mark.parametrize("text,where,found", [
    ("A=1;\n  B=;\n", "línea 2, columna 5", "Se encontró ';' cuando se esperaba un valor"),
    ("A=1;\nB=[X=1\n", "línea 2, columna 7", "Se encontró '[EOS]' cuando se esperaba el símbolo ']'"),
    ("A=1;\n// nota\n B:x=1", "línea 3, columna 4", "un número después del símbolo ':'"),
    ("A=1]", "línea 1, columna 4", "el final del texto"),
])
def test_check_names_line_and_column(qel, text, where, found):
    r = qel("props", "check", input=text)
    assert r.status == 1 and r.out == ""
    assert f"qel: <stdin>: {where}: error -2147024809 (&H80070057) (QelProps.ToText): " in r.err
    assert found in r.err


def test_deep_nesting_is_an_error_not_a_crash(qel):
    r = qel("props", "check", input="A=" + "[B=" * 5000)
    assert r.status == 1 and "error 28" in r.err


def test_invalid_utf8_is_refused_and_output_left_alone(qel, tmp_path):
    out = tmp_path / "o.txt"
    out.write_text("anterior")
    r = qel("props", "to-text", "-o", out, input=b"A=\"\xff\"")
    assert r.status == 1 and "no es UTF-8 válido" in r.err
    assert out.read_text() == "anterior"


@pytest.mark.parametrize("args", [["to-json"], ["to-text", "a", "b"], ["check", "--x"], []])
def test_props_usage_errors(qel, args):
    assert qel("props", *args).status == 2
