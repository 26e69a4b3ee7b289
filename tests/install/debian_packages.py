#!/usr/bin/env python3
"""Builds the Debian packages of a build tree with CPack and checks them.

Without root: each package's name, version, dependencies and file list; the unpacked files
name no build path; the tool and the module work from the unpacked tree. As root, also: all
four installed with dpkg -i give a working `python3 -c "import qelstd"`, `qel demo` and
pkg-config entry, and are purged again, so that the machine is left as it was found. When not
root, or when installing would overwrite something already there, the test says SKIPPED.

Usage: debian_packages.py CPACK BUILD_DIR SOURCE_DIR VERSION WITH_PYTHON(0|1)
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

LIBDIR = r"usr/lib(/[a-z0-9_]+-linux-gnu[a-z0-9_]*)?"

# Package -> (patterns every file must match, files that must be there). Directories are not
# listed. Install rules must name one of the four components (cmake/install.cmake).
PACKAGES = {
    "libqelstd0": (
        [LIBDIR + r"/libqelstd\.so\.0(\.[0-9]+)*", r"usr/share/doc/libqelstd0/.*"],
        [LIBDIR + r"/libqelstd\.so\.0", LIBDIR + r"/libqelstd\.so\.0\.[0-9]+\.[0-9]+"],
    ),
    "libqelstd-dev": (
        [r"usr/include/qel/.*\.h", LIBDIR + r"/libqelstd\.(a|so)",
         LIBDIR + r"/cmake/qelstd/qelstd[A-Za-z-]*\.cmake", LIBDIR + r"/pkgconfig/qelstd\.pc",
         r"usr/share/dbus-1/interfaces/.*\.xml", r"usr/share/doc/libqelstd-dev/.*"],
        [r"usr/include/qel/qelstd\.h", LIBDIR + r"/libqelstd\.a", LIBDIR + r"/libqelstd\.so",
         LIBDIR + r"/cmake/qelstd/qelstdConfig\.cmake",
         LIBDIR + r"/cmake/qelstd/qelstdConfigVersion\.cmake",
         LIBDIR + r"/cmake/qelstd/qelstdTargets\.cmake", LIBDIR + r"/pkgconfig/qelstd\.pc"],
    ),
    "python3-qelstd": (
        [r"usr/lib/python3/dist-packages/qelstd/[A-Za-z_][A-Za-z0-9_.-]*",
         r"usr/share/doc/python3-qelstd/.*"],
        [r"usr/lib/python3/dist-packages/qelstd/__init__\.py",
         r"usr/lib/python3/dist-packages/qelstd/__init__\.pyi",
         r"usr/lib/python3/dist-packages/qelstd/py\.typed",
         r"usr/lib/python3/dist-packages/qelstd/_qelstd\.cpython-[^/]*\.so"],
    ),
    "qel-tools": (
        [r"usr/bin/qel", r"usr/share/man/man1/qel\.1\.gz", r"usr/share/doc/qel-tools/.*"],
        [r"usr/bin/qel", r"usr/share/man/man1/qel\.1\.gz"],
    ),
}

# Depends entries each package must carry (regular expressions over the Depends field).
def expected_depends(version):
    shlibs = [r"(^|, )libc6 \(>= [0-9.]+\)", r"(^|, )libssl3\b", r"(^|, )libglib2\.0-0\b"]
    return {
        "libqelstd0": shlibs,
        "libqelstd-dev": [r"(^|, )libqelstd0 \(= " + re.escape(version) + r"\)",
                          r"(^|, )libssl-dev\b", r"(^|, )libglib2\.0-dev\b"],
        "python3-qelstd": [r"(^|, )python3 \(>= 3\.[0-9]+~\)", r"(^|, )python3 \(<< 3\.[0-9]+\)",
                           r"(^|, )libc6 \(>= [0-9.]+\)"],
        "qel-tools": shlibs,
    }


failures = []


def check(ok, message):
    if not ok:
        failures.append(message)
    return ok


def run(*args, **kw):
    return subprocess.run(args, capture_output=True, text=True, **kw)


def files_of(deb):
    """Paths (without "./") of the non-directory entries of a package."""
    tar = subprocess.run(["dpkg-deb", "--fsys-tarfile", deb], capture_output=True,
                         check=True).stdout
    listing = subprocess.run(["tar", "-t"], input=tar, capture_output=True,
                             check=True).stdout.decode()
    return sorted(p[2:] if p.startswith("./") else p
                  for p in listing.splitlines() if p and not p.endswith("/"))


def check_package(deb, name, version, source_dir):
    field = lambda f: run("dpkg-deb", "-f", deb, f).stdout.strip()
    check(field("Package") == name, f"{deb}: Package {field('Package')!r}")
    check(field("Version") == version, f"{name}: Version {field('Version')!r}, want {version}")
    check(field("Architecture") == run("dpkg", "--print-architecture").stdout.strip(),
          f"{name}: Architecture {field('Architecture')!r}")
    depends = field("Depends")
    for want in expected_depends(version)[name]:
        check(re.search(want, depends), f"{name}: Depends {depends!r} lacks /{want}/")
    allowed, required = PACKAGES[name]
    files = files_of(deb)
    for f in files:
        check(any(re.fullmatch(p, f) for p in allowed), f"{name}: unexpected file {f}")
    for r in required:
        check(any(re.fullmatch(r, f) for f in files), f"{name}: no file matching {r}")
    if name == "libqelstd-dev":
        headers = {os.path.relpath(os.path.join(d, f), os.path.join(source_dir, "include"))
                   for d, _, fs in os.walk(os.path.join(source_dir, "include", "qel"))
                   for f in fs if f.endswith(".h")}
        shipped = {f[len("usr/include/"):] for f in files if f.startswith("usr/include/")}
        check(headers == shipped,
              f"{name}: headers differ from include/: {sorted(headers ^ shipped)}")
    return files


def is_installed(package):
    status = run("dpkg-query", "-W", "-f=${Status}", package).stdout
    return "installed" in status and "not-installed" not in status


def dpkg(*args):
    """dpkg, waiting a while when another dpkg or apt holds the lock."""
    for _ in range(24):
        r = run("dpkg", *args)
        if r.returncode == 0 or "lock" not in r.stderr:
            return r
        time.sleep(5)
    return r


def use_unpacked(root, with_python, work):
    """The tool and the module from the unpacked tree, without installing anything."""
    r = run(os.path.join(root, "usr/bin/qel"), "demo", cwd=work)
    check(r.returncode == 0 and "\nEval(" in r.stdout, f"unpacked qel demo: {r.stderr}")
    if with_python:
        site = os.path.join(root, "usr/lib/python3/dist-packages")
        env = dict(os.environ, PYTHONPATH=site, PYTHONDONTWRITEBYTECODE="1")
        r = run("/usr/bin/python3", "-c", "import qelstd; print(qelstd.__file__)",
                cwd=work, env=env)
        check(r.returncode == 0 and r.stdout.startswith(site),
              f"unpacked import qelstd: {r.stdout} {r.stderr}")


def install_and_use(debs, names, all_files, work, version):
    """dpkg -i the packages, use them, purge them. Returns a skip reason or None."""
    if os.geteuid() != 0:
        return "installing the packages needs root (dpkg -i)"
    present = [n for n in names if is_installed(n)]
    if present:
        return f"{', '.join(present)} already installed; left alone"
    clobbered = [f for f in all_files if os.path.lexists("/" + f)]
    if clobbered:
        return f"installing would overwrite {clobbered[0]} (and {len(clobbered) - 1} more)"
    try:
        r = dpkg("-i", *debs)
        if not check(r.returncode == 0, f"dpkg -i failed: {r.stderr}"):
            return None
        env = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
        env["PYTHONDONTWRITEBYTECODE"] = "1"
        if "python3-qelstd" in names:
            r = run("/usr/bin/python3", "-c", "import qelstd; print(qelstd.__file__)",
                    cwd=work, env=env)
            check(r.returncode == 0
                  and r.stdout.startswith("/usr/lib/python3/dist-packages/qelstd/"),
                  f'installed python3 -c "import qelstd": {r.stdout} {r.stderr}')
        qel = shutil.which("qel", path="/usr/bin")
        r = run(qel or "/usr/bin/qel", "demo", cwd=work)
        check(r.returncode == 0 and "\nEval(" in r.stdout, f"installed qel demo: {r.stderr}")
        r = run("pkg-config", "--modversion", "qelstd", env=env)
        check(r.stdout.strip() == version.split("-")[0],
              f"installed pkg-config --modversion qelstd: {r.stdout} {r.stderr}")
    finally:
        r = dpkg("--purge", *names)
        check(r.returncode == 0, f"dpkg --purge failed: {r.stderr}")
        left = [n for n in names if is_installed(n)]
        check(not left, f"still installed after purge: {left}")
        left = [f for f in all_files if os.path.lexists("/" + f)]
        check(not left, f"left behind after purge: {left}")
    return None


def main():
    cpack, build_dir, source_dir, project_version, with_python = sys.argv[1:6]
    with_python = with_python == "1"
    if not shutil.which("dpkg-deb") or not shutil.which("dpkg-shlibdeps"):
        print("SKIPPED: dpkg-deb and dpkg-shlibdeps (Debian package dpkg-dev) are needed")
        return 0
    version = project_version + "-1"
    names = [n for n in PACKAGES if with_python or n != "python3-qelstd"]
    work = tempfile.mkdtemp(prefix="qel-debs-")
    try:
        r = run(cpack, "-G", "DEB", "--config", os.path.join(build_dir, "CPackConfig.cmake"),
                "-B", work)
        if r.returncode != 0:
            print(r.stdout, r.stderr)
            print("FAIL: cpack")
            return 1
        debs = {}
        for f in sorted(os.listdir(work)):
            if f.endswith(".deb"):
                debs[f.split("_")[0]] = os.path.join(work, f)
        check(sorted(debs) == sorted(names),
              f"packages {sorted(debs)}, want {sorted(names)} (an install rule without "
              "COMPONENT runtime, dev, python or tools makes an extra one)")
        all_files = []
        root = os.path.join(work, "root")
        for name in names:
            if name not in debs:
                continue
            files = check_package(debs[name], name, version, source_dir)
            overlap = set(files) & set(all_files)
            check(not overlap, f"{name}: files in two packages: {sorted(overlap)}")
            all_files += files
            run("dpkg-deb", "-x", debs[name], root)
        leaks = run("grep", "-rIl", "-e", build_dir, "-e", source_dir, root).stdout.split()
        check(not leaks, f"packaged files name the build or source tree: {leaks}")
        use_unpacked(root, with_python, work)
        skip = None
        if not failures:
            skip = install_and_use([debs[n] for n in names], names, all_files, work,
                                   version)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for f in failures:
        print("FAIL:", f)
    if failures:
        return 1
    print(f"checked {', '.join(names)} {version}")
    if skip:
        print(f"SKIPPED: {skip}; the packages' contents were checked")
    return 0


if __name__ == "__main__":
    sys.exit(main())
