"""cmake --install puts the package into the platform's Python path under the
prefix, where it finds the installed library (not the build tree's) and its
tables."""

import os
import subprocess
import sys

from conftest import BUILD, PHOTOS

CHECK = """
import sys, zkimgset
array = zkimgset.open_array(sys.argv[1])
print(zkimgset.autosetup(array).summary)
print(zkimgset._zkimgset.__file__)
print(next(line.split()[-1] for line in open("/proc/self/maps") if "libzkimgset.so" in line))
"""


def test_installed_package_uses_the_installed_library(tmp_path):
    prefix = tmp_path / "prefix"
    subprocess.run(["cmake", "--install", str(BUILD), "--prefix", str(prefix)], check=True,
                   capture_output=True)
    packages = [p.parent.parent for p in prefix.rglob("zkimgset/__init__.py")]
    assert len(packages) == 1
    assert packages[0].relative_to(prefix).parts[-1] in ("dist-packages", "site-packages")
    env = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    env["PYTHONPATH"] = str(packages[0])
    done = subprocess.run([sys.executable, "-c", CHECK, str(PHOTOS[0])], env=env, cwd=tmp_path,
                          capture_output=True, text=True, check=True)
    summary, extension, library = done.stdout.splitlines()
    assert summary.startswith("brightened")
    assert extension.startswith(str(prefix)) and library.startswith(str(prefix))
