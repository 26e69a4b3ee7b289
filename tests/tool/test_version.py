import re


def test_version_names_the_tool_and_a_release(qel):
    r = qel("--version")
    assert r.status == 0
    assert re.fullmatch(r"qel \(qelstd\) \d+\.\d+\.\d+\n", r.out)
