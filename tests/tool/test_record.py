import json
import os
import random

import pytest


def rut(rng):
    body = str(rng.randrange(1, 99999999))
    total, weight = 0, 2
    for d in reversed(body):
        total += int(d) * weight
        weight = 2 if weight == 7 else weight + 1
    check = {0: "0", 1: "K"}.get(total % 11, str(11 - total % 11))
    return f"{body}-{check}"


def number(rng, digits, decimals, signed):
    v = rng.randrange(10 ** digits) / 10 ** decimals
    if signed and rng.random() < 0.5:
        v = -v
    return round(v, decimals)


def text(rng, n):
    chars = "AZaz09 ñÉ€,;\"'\\-"
    return "".join(rng.choice(chars) for _ in range(rng.randrange(n + 1))).rstrip()


def random_record(rng):
    return {
        "CLIENTE": text(rng, 20), "CODIGO": text(rng, 6), "RUT": rut(rng),
        "FECHA": f"{rng.randrange(1900, 2100):04}-{rng.randrange(1, 13):02}-{rng.randrange(1, 29):02}",
        "MES": f"{rng.randrange(1930, 2030):04}-{rng.randrange(1, 13):02}-01",
        "DIA": f"{rng.randrange(1930, 2030):04}-{rng.randrange(1, 13):02}-{rng.randrange(1, 29):02}",
        "SALDO": number(rng, 11, 2, True),
        "ITEMS": [{"ART": text(rng, 8), "CANT": number(rng, 5, 0, False),
                   "PRECIO": number(rng, 9, 2, False), "AJUSTE": number(rng, 6, 3, True)}
                  for _ in range(rng.randrange(5))],
        "TOTAL": number(rng, 13, 2, False), "NOTA": rng.choice(["SIN", "ABC", ""]),
    }


@pytest.fixture
def fixed_file(qel, sig, tmp_path):
    """300 random records through jsonl -> fixed: the fixed file the round trips start from."""
    rng = random.Random(17)
    src = tmp_path / "r.jsonl"
    src.write_text("".join(json.dumps(random_record(rng), ensure_ascii=False) + "\n"
                           for _ in range(300)))
    out = tmp_path / "r.fix"
    r = qel("record", "convert", "--layout", sig, "--from", "jsonl", "--to", "fixed", src, "-o", out)
    assert r.status == 0, r.err
    return out


@pytest.mark.parametrize("middle", ["jsonl", "csv"])
def test_fixed_round_trip_gives_back_the_same_bytes(qel, sig, fixed_file, tmp_path, middle):
    original = fixed_file.read_bytes()
    lines = original.split(b"\n")
    assert len(lines) == 301 and all(len(l) == 193 for l in lines[:-1])
    assert any(b"\x80" in l for l in lines)  # the euro sign in Windows-1252
    there = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", middle, fixed_file)
    assert there.status == 0, there.err
    back = qel("record", "convert", "--layout", sig, "--from", middle, "--to", "fixed", "-",
               input=there.out_bytes)
    assert back.status == 0, back.err
    assert back.out_bytes == original


def test_jsonl_values_read_back_as_written(qel, sig, tmp_path):
    rec = {"CLIENTE": "Comercial \"Ñuble\"", "CODIGO": "A-1", "RUT": "12345678-5",
           "FECHA": "2006-03-15", "MES": "2001-02-01", "DIA": "1999-12-31", "SALDO": -1234.5,
           "ITEMS": [{"ART": "X,1", "CANT": 3, "PRECIO": 1990.5, "AJUSTE": -0.125}],
           "TOTAL": 5971.5, "NOTA": "SIN"}
    fixed = qel("record", "convert", "--layout", sig, "--from", "jsonl", "--to", "fixed",
                input=json.dumps(rec) + "\n")
    assert fixed.status == 0, fixed.err
    assert fixed.out_bytes[54:65] == b"00000123450"[:-1] + b"}"  # -1234.50, letter sign mark
    back = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "jsonl",
               input=fixed.out_bytes)
    got = json.loads(back.out)
    empty = {"ART": "", "CANT": 0, "PRECIO": 0, "AJUSTE": 0}
    assert got == dict(rec, ITEMS=rec["ITEMS"] + [empty] * 3)
    high = qel("record", "convert", "--layout", sig, "--from", "jsonl", "--to", "fixed",
               "--sign", "high-bit", input=json.dumps(rec) + "\n")
    assert high.out_bytes[64:65] == b"\xb0"


def test_decode_formats_of_link_texts_and_bare_data(qel, sig, fixed_file):
    first = fixed_file.read_bytes().split(b"\n")[0].decode("cp1252")
    want = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "jsonl",
               input=first.encode("cp1252") + b"\n").out
    link = qel("record", "encode", "--layout", sig, input=want)
    assert link.status == 0 and "\x1d" in link.out
    for data in (link.out, first + "\n"):
        js = qel("record", "decode", "--layout", sig, "--format", "json", input=data)
        assert (js.status, js.out) == (0, want)
    csv = qel("record", "decode", "--layout", sig, "--format", "csv", input=link.out)
    header, row = csv.out.splitlines()
    assert header.split(",")[:8] == ["CLIENTE", "CODIGO", "RUT", "FECHA", "MES", "DIA", "SALDO",
                                     "ART_1"]
    table = qel("record", "decode", "--layout", sig, input=link.out)
    assert table.out.splitlines()[2].split() == ["RUT", json.loads(want)["RUT"]]


def test_texts_are_escaped_for_json_and_quoted_for_csv(qel, sig):
    value = 'a\tb"c\\d,e\x01'
    link = qel("record", "encode", "--layout", sig, input=json.dumps({"CLIENTE": value}) + "\n")
    js = qel("record", "decode", "--layout", sig, "--format", "json", input=link.out)
    assert '"CLIENTE":"a\\u0009b\\"c\\\\d,e\\u0001"' in js.out
    assert json.loads(js.out)["CLIENTE"] == value
    csv = qel("record", "decode", "--layout", sig, "--format", "csv", input=link.out)
    assert csv.out.splitlines()[1].startswith('"a\tb""c\\d,e\x01",')


def test_encode_key_value_blocks(qel, sig):
    r = qel("record", "encode", "--layout", sig,
            input="CLIENTE=Ana\nCANT(2)=7\n\nrut = 7654321-6\n")
    assert r.status == 0, r.err
    links = r.out.split("\n")[:-1]  # splitlines would also split at FS and GS
    assert len(links) == 2
    dec = [json.loads(l) for l in qel("record", "decode", "--layout", sig, "--format", "json",
                                      input=r.out).out.splitlines()]
    assert dec[0]["CLIENTE"] == "Ana" and dec[0]["ITEMS"][1]["CANT"] == 7
    assert dec[1]["RUT"] == "7654321-6" and dec[1]["CLIENTE"] == ""


@pytest.mark.parametrize("args,data,message", [
    (["convert", "--from", "fixed", "--to", "csv"], b"corto\n",
     "<stdin>:1: el registro tiene 5 caracteres y el layout PEDIDO tiene 193"),
    (["decode"], b"corto\n", "<stdin>:1: el registro tiene 5 caracteres"),
    (["decode"], b"\xc3(\n", "<stdin>:1: no es UTF-8 válido"),
    (["convert", "--from", "jsonl", "--to", "fixed"], b'{"RUT":"12345678-4"}\n',
     "<stdin>:1: error -2147024809 (&H80070057) (QelRecordField.ValueLet"),
    (["convert", "--from", "jsonl", "--to", "fixed"], b'{"FECHA":"15-03-2006"}\n',
     "'15-03-2006' no es una fecha AAAA-MM-DD (campo FECHA)"),
    (["convert", "--from", "jsonl", "--to", "fixed"], b'{"CANT":1}\n',
     "el campo 'CANT' no existe en el registro 'PEDIDO'"),
    (["convert", "--from", "jsonl", "--to", "fixed"], b'{"CLIENTE":"a"\n',
     "JSON inválido en la columna 15"),
    (["convert", "--from", "jsonl", "--to", "fixed"], b"[" * 100000 + b"\n",
     "anidamiento de más de 8"),
    (["convert", "--from", "csv", "--to", "fixed"], b"CLIENTE,OTRA\n",
     "la columna 'OTRA' no es un campo del layout PEDIDO"),
    (["convert", "--from", "csv", "--to", "fixed"], b'CLIENTE,SALDO\n"a,1\n',
     "<stdin>:2: línea CSV mal formada"),
    (["convert", "--from", "csv", "--to", "fixed"], b"CLIENTE,SALDO\na,x\n",
     "'x' no es un número (campo SALDO)"),
])
def test_bad_records_fail_naming_the_line(qel, sig, args, data, message):
    r = qel("record", *args, "--layout", sig, input=data)
    assert r.status == 1
    assert message in r.err


def test_a_bad_record_leaves_the_output_file_alone(qel, sig, fixed_file, tmp_path):
    bad = tmp_path / "bad.fix"
    bad.write_bytes(fixed_file.read_bytes() + b"corto\n")
    out = tmp_path / "out.csv"
    out.write_text("anterior")
    r = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "csv", bad, "-o", out)
    assert r.status == 1 and "bad.fix:301:" in r.err
    assert out.read_text() == "anterior"
    assert sorted(os.listdir(tmp_path)) == ["bad.fix", "out.csv", "pedido.sig", "r.fix", "r.jsonl"]


def test_a_malformed_signature_is_refused(qel, sig, tmp_path):
    bad = tmp_path / "bad.sig"
    bad.write_text(sig.read_text().replace("N:9.2:PRECIO", "N:9.3:PRECIO"))
    r = qel("record", "decode", "--layout", bad, input="x\n")
    assert r.status == 1
    assert "QelRecordFields.Layout" in r.err and "La firma no coincide" in r.err
    r = qel("record", "decode", "--layout", "SD:1.0:X", input="x\n")
    assert r.status == 1 and "error -2147024809" in r.err


@pytest.mark.parametrize("args", [
    ["convert", "--from", "fixed", "--to", "xml"], ["convert", "--to", "csv"],
    ["decode", "--format", "yaml"], ["decode"], ["borrar"], ["convert", "--sign", "x"],
])
def test_record_usage_errors(qel, sig, args):
    full = args if "--layout" in args or args == ["decode"] else args + ["--layout", str(sig)]
    assert qel("record", *full).status == 2


def test_fixed_input_with_crlf_and_no_last_line_end(qel, sig, fixed_file):
    lf = fixed_file.read_bytes()
    crlf = lf.replace(b"\n", b"\r\n")[:-2]
    want = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "csv", input=lf)
    got = qel("record", "convert", "--layout", sig, "--from", "fixed", "--to", "csv", input=crlf)
    assert got.status == 0 and got.out == want.out and len(want.out.splitlines()) == 301
