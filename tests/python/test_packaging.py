"""What is published: a source distribution, the wheel from it, and how an installed copy behaves.

Looks at those in the folder KAVRO_WHEELS; without it makes them, on the library installed in
KAVRO_INSTALLED and unoptimized, because the door alone is left to compile.
"""

import importlib.util
import json
import os
import subprocess
import sys
import tarfile
import zipfile
from email.parser import Parser
from pathlib import Path

import kavro
import pytest
from test_package import exported

ROOT = Path(__file__).parents[2]

SESSION = """
import kavro, {modules}
array = kavro.disc(1e-3) + kavro.spherical_shell(2e-3, 5e-3, amplitude=0.3)
grid = kavro.Grid(x=(-1e-3, 1e-3, 1e-3), z=(5e-3, 7e-3, 1e-3))
times = kavro.Times(3e-6, 9e-6, 2e-7)
pulse = kavro.hanning_pulse(1e6, 2e-6)
p = kavro.pressure(array, grid, kavro.water(), time=times, excitation=pulse)
power = kavro.acoustic_power(array, kavro.water(), 1e6)
told = kavro.__version__, p.tobytes().hex(), power.hex(), kavro.__file__
"""


@pytest.fixture(scope="module")
def built(tmp_path_factory):
    """The source distribution and the wheel."""
    folder = os.environ.get("KAVRO_WHEELS")
    if folder is None:
        folder = tmp_path_factory.mktemp("wheels")
        options = {
            "cmake.define.KAVRO_USE_INSTALLED": "ON",
            "cmake.define.CMAKE_PREFIX_PATH": os.environ["KAVRO_INSTALLED"],
            "cmake.build-type": "None",
        }
        command = [ROOT / "scripts/wheel", folder]
        command += [f"--config-setting={name}={value}" for name, value in options.items()]
        environment = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
        run = subprocess.run(
            command,
            env={**environment, "PYTHON": sys.executable},
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
        )
        if run.returncode == 77 and "CI" not in os.environ:
            pytest.skip(run.stdout.splitlines()[-1])
        assert run.returncode == 0, run.stdout
    (source,) = Path(folder).glob("kavro-*.tar.gz")
    (wheel,) = Path(folder).glob("kavro-*.whl")
    return source, wheel


def test_source_distribution_is_complete(built):
    with tarfile.open(built[0]) as file:
        top = f"kavro-{kavro.__version__}"
        names = {name.removeprefix(top + "/") for name in file.getnames()}
        metadata = Parser().parsestr(file.extractfile(f"{top}/PKG-INFO").read().decode())
    folders = ("cmake", "core", "door", "excitation", "python", "thermal", "transducers")
    sources = {
        path.relative_to(ROOT).as_posix()
        for folder in folders
        for path in (ROOT / folder).rglob("*.*")
        if path.is_file() and path.suffix not in (".so", ".pyc")
    }
    assert sources | {"CMakeLists.txt", "LICENSE", "kavro.h", "pyproject.toml"} <= names
    assert not any(name.endswith(".so") or name.startswith(("build", "tests")) for name in names)
    assert metadata["Version"] == kavro.__version__ and metadata["Requires-Python"] == ">=3.10"


def test_wheel_holds_the_package_alone(built, tmp_path):
    with zipfile.ZipFile(built[1]) as file:
        names = set(file.namelist())
        file.extractall(tmp_path)
    about = f"kavro-{kavro.__version__}.dist-info"
    sources = {p.name for p in (ROOT / "python/kavro").glob("*.*") if p.suffix != ".so"}
    (module,) = (name for name in names if name.endswith(".so"))
    inside = {name for name in names if not name.startswith(about)}
    assert "py.typed" in sources and inside == {f"kavro/{name}" for name in sources} | {module}
    assert exported(tmp_path / module) == ["PyInit__kavro"]

    metadata = Parser().parsestr((tmp_path / about / "METADATA").read_text())
    assert (metadata["Name"], metadata["Version"]) == ("kavro", kavro.__version__)
    assert "numpy>=1.22" in metadata.get_all("Requires-Dist") and "GPL" in metadata["License"]
    assert metadata.get_payload().startswith("# KAVRO in Python")
    assert any(name.endswith("LICENSE") for name in names)


def test_installed_copy_knows_nothing_of_the_source_tree(built, tmp_path):
    has = {"kavro.plots": "matplotlib", "kavro.distributed": "dask"}
    modules = [name for name, needed in has.items() if importlib.util.find_spec(needed)]
    session = SESSION.format(modules=", ".join(["os", *modules]))

    def run(*command):
        return subprocess.run(
            [tmp_path / "venv/bin/python", "-I", *command],
            cwd=tmp_path,
            capture_output=True,
            text=True,
        )

    command = [sys.executable, "-m", "venv", "--system-site-packages", tmp_path / "venv"]
    subprocess.run(command, check=True)
    installed = run("-m", "pip", "install", "--no-index", "--no-deps", built[1])
    assert installed.returncode == 0, installed.stderr
    there = run("-c", session + "import json; print(json.dumps(told))")
    assert there.returncode == 0, there.stderr
    *told, file = json.loads(there.stdout)
    here = {}
    exec(session, here)
    assert told == list(here["told"][:-1]) and Path(file).is_relative_to(tmp_path / "venv")

    assert run("-m", "pip", "uninstall", "--yes", "kavro").returncode == 0
    assert "No module named 'kavro'" in run("-c", "import kavro").stderr
    assert not Path(file).parent.exists()
