"""Runs the built qel tool (path in QEL_TOOL) and returns what it did."""
import os
import subprocess
from dataclasses import dataclass
from pathlib import Path

import pytest


@dataclass
class Run:
    status: int
    out: str
    err: str
    out_bytes: bytes


def _run(*args, input=None, env=None, cwd=None, timeout=60):
    data = input.encode() if isinstance(input, str) else input
    full_env = dict(os.environ, LC_ALL="C.UTF-8")
    full_env.update(env or {})
    p = subprocess.run([os.environ["QEL_TOOL"], *map(str, args)], input=data,
                       capture_output=True, env=full_env, cwd=cwd, timeout=timeout)
    return Run(p.returncode, p.stdout.decode(errors="replace"),
               p.stderr.decode(errors="replace"), p.stdout)


@pytest.fixture
def qel():
    """qel(*args, input=str|bytes, env=dict) -> Run(status, out, err, out_bytes)."""
    return _run


@pytest.fixture
def sig(qel, tmp_path):
    """The signature of tests/tool/data/pedido.decl, built by the tool into tmp_path."""
    path = tmp_path / "pedido.sig"
    assert qel("layout", "build", Path(__file__).parent / "data" / "pedido.decl", "-o",
               path).status == 0
    return path
