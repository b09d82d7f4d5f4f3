"""The package as it is published: names, types, version, symbols."""

import importlib.util
import os
import re
import subprocess
import sys
import typing
from pathlib import Path

import kavro
import pytest

ROOT = Path(__file__).parents[2]


@pytest.mark.skipif(
    not all(map(importlib.util.find_spec, ("matplotlib", "dask"))),
    reason="no matplotlib or no dask",
)
def test_every_name_is_in_the_documented_table():
    toolbox = (ROOT / "docs/toolbox.md").read_text().split("\n## Functions\n")[1]
    toolbox = set(re.findall(r"^\| `(kavro\.\w+)`", toolbox, re.M))
    table = (ROOT / "docs/python.md").read_text().split("\n## Names\n")[1].split("\n## ")[0]
    rows = re.findall(r"^\| (.*?) \| (.*) \|$", table, re.M)
    theirs = {name for row in rows for name in re.findall(r"`(kavro\.\w+)`", row[0])}
    ours = {name for row in rows for name in re.findall(r"`(kavro\.\w+(?:\.\w+)?)`", row[1])}
    assert theirs == toolbox == {f"kavro.{f.stem}" for f in (ROOT / "toolbox/+kavro").glob("*.m")}

    public = {f"kavro.{name}" for name in kavro.__all__ if name != "__version__"}
    for module in ("plots", "distributed"):
        names = importlib.import_module(f"kavro.{module}").__all__
        public |= {f"kavro.{module}.{name}" for name in names}
    assert ours == public


def test_types_name_the_methods_of_the_library():
    methods = kavro.methods()
    assert typing.get_args(kavro.MethodName) == tuple(methods)
    assert methods["fnm_tsd"].ndiv == 32 and "excitation" in methods["fnm_tsd"].options
    assert methods["fnm_tsd_sse"].shapes == ("disc",)


def test_types_hold():
    pytest.importorskip("mypy", reason="mypy is not installed")
    command = [
        sys.executable,
        "-m",
        "mypy",
        "--config-file",
        ROOT / "pyproject.toml",
        "--cache-dir",
        os.devnull,
        ROOT / "python/kavro",
    ]
    result = subprocess.run(command, capture_output=True, text=True)
    assert result.returncode == 0, result.stdout


def test_version_is_that_of_the_build():
    tomllib = pytest.importorskip("tomllib")

    settings = tomllib.loads((ROOT / "pyproject.toml").read_text())
    where = settings["tool"]["scikit-build"]["metadata"]["version"]
    found = re.search(where["regex"], (ROOT / where["input"]).read_text())
    assert found and found["value"] == kavro.__version__


def exported(module):
    listing = subprocess.run(["nm", "-D", "--defined-only", module], capture_output=True, text=True)
    return [line.split()[-1] for line in listing.stdout.splitlines()]


@pytest.mark.skipif(not sys.platform.startswith("linux"), reason="asks a tool of Linux")
def test_one_symbol_is_exported():
    assert exported(kavro._kavro.__file__) == ["PyInit__kavro"]
