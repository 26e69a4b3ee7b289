import pytest


@pytest.fixture
def record(qel, sig):
    link = qel("record", "encode", "--layout", sig,
               input='{"CLIENTE":"Ñuble","SALDO":-10.5,"ITEMS":[{"CANT":3,"PRECIO":1500}]}\n')
    assert link.status == 0, link.err
    return link.out.rstrip("\n")


@pytest.mark.parametrize("expr,want", [
    ("$Trim(CLIENTE) = 'Ñuble'", "True"),
    ("SALDO < 0 AND CANT(1) = 3", "True"),
    ("PRECIO(1) > 2000", "False"),
    ("@CARO OR @DEUDA", "True"),
])
def test_eval_over_a_link_text(qel, sig, record, tmp_path, expr, want):
    bag = tmp_path / "f.bag"
    bag.write_text('CARO="PRECIO(1) > 2000";DEUDA="SALDO < 0"')
    r = qel("eval", "--layout", sig, "--record", record, "--formulas", bag, expr)
    assert (r.status, r.out) == (0, want + "\n"), r.err


def test_eval_reads_the_record_from_stdin(qel, sig, record):
    r = qel("eval", "--layout", sig, "--record", "-", "CLIENTE", input=record + "\n")
    assert (r.status, r.out) == (0, "Ñuble\n")


def test_eval_errors_are_the_librarys(qel, sig, record):
    r = qel("eval", "--layout", sig, "--record", record, "NADA > 1")
    assert r.status == 1
    assert "(QelRecord.Eval:" in r.err and "El campo 'NADA' no existe en el registro 'PEDIDO'" in r.err
    r = qel("eval", "--layout", sig, "--record", "x" * 500, "1")
    assert r.status == 1 and "el registro tiene 500 caracteres" in r.err


@pytest.mark.parametrize("args", [["1"], ["--layout", "x", "1"], ["--layout", "x", "--record", "y"]])
def test_eval_usage_errors(qel, args):
    assert qel("eval", *args).status == 2
