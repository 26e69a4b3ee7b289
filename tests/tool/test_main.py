def test_help_lists_every_command_and_exits_zero(qel):
    r = qel("--help")
    assert r.status == 0
    for name in ("demo", "classes", "rut", "layout", "record", "props", "eval"):
        assert f"  {name} " in r.out


def test_unknown_command_is_a_usage_error(qel):
    r = qel("nada")
    assert r.status == 2
    assert "comando desconocido: nada" in r.err


def test_extra_argument_is_a_usage_error_naming_the_command(qel):
    r = qel("classes", "x")
    assert r.status == 2
    assert "qel classes --help" in r.err


def test_demo_is_the_default_and_classes_lists_records(qel):
    assert "Eval(" in qel().out
    assert "QelRecord" in qel("classes").out.splitlines()
