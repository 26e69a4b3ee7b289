import pytest


@pytest.mark.parametrize("args,out,status", [
    (["validate", "12.345.678-5"], "123456785\n", 0),
    (["validate", "--width", "10", "12345678-k", "5.126.663-3"], "", 1),
    (["validate", "--width", "10", "7.654.321-6"], "0076543216\n", 0),
    (["validate", "--unknown", "12345678-?"], "123456785\n", 0),
    (["validate", "12345678-?"], "", 1),
    (["format", "123456785"], "12.345.678-5\n", 0),
    (["format", "--plain", "12.345.678-5"], "12345678-5\n", 0),
    (["check", "12345678-5", "76543216"], "", 1),
    (["check", "12345678-5"], "", 0),
])
def test_rut_arguments(qel, args, out, status):
    r = qel("rut", *args, env={"LC_ALL": "es_CL.UTF-8"})
    assert r.status == status, r.err
    if status == 0:
        assert r.out == out


def test_rut_lines_keep_going_past_a_bad_one_and_name_it(qel):
    r = qel("rut", "validate", input="12.345.678-5\n\n12345678-4\n7654321-6\n")
    assert r.status == 1
    assert r.out == "123456785\n76543216\n"
    assert "<stdin>:3: error -2147024809" in r.err
    assert "InvalidParity" in r.err


def test_rut_input_files_and_stdin_dash(qel, tmp_path):
    f = tmp_path / "ruts.txt"
    f.write_text("12345678-5\r\n")
    r = qel("rut", "validate", "--input", f, "--input", "-", input="7654321-6\n")
    assert (r.status, r.out) == (0, "123456785\n76543216\n")


def test_rut_invalid_utf8_on_stdin_is_refused(qel):
    r = qel("rut", "check", input=b"12345678-5\n\xff\xfe\n")
    assert r.status == 1
    assert "<stdin>:2: no es UTF-8 válido" in r.err


@pytest.mark.parametrize("args", [["nada"], ["validate", "--width"], ["validate", "--width", "x"],
                                  ["validate", "--zzz"], []])
def test_rut_usage_errors(qel, args):
    assert qel("rut", *args).status == 2


def test_rut_help(qel):
    r = qel("rut", "--help")
    assert r.status == 0 and "validate" in r.out
