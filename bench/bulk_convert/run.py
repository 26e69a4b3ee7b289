#!/usr/bin/env python3
"""The bulk conversion benchmark: 1,000,000 records of cliente.cpy (40 fields, a list of 10
occurrences, 659 characters) converted fixed -> CSV by qel record convert, by the hand-written
fixed_to_csv.cc and by the GnuCOBOL program fixed_to_csv.cob, beside the floor (fixed_to_csv
--copy: the fields' bytes copied between commas, nothing converted), each run three times; prints
records/s and MB/s (of input) for the median run, by wall clock and by CPU time.

    bench/bulk_convert/run.py BUILD_DIR [RECORDS] [WORK_DIR]

BUILD_DIR holds the built qel. The script builds the two baselines itself (clang++ -O2, cobc -O2).
"""
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))


def timed(cmd, env=None):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run(cmd, check=True, env=env)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
    return wall, cpu


def main():
    build = os.path.abspath(sys.argv[1])
    records = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    work = sys.argv[3] if len(sys.argv) > 3 else tempfile.mkdtemp(prefix="bulk_convert.")
    os.makedirs(work, exist_ok=True)
    qel = os.path.join(build, "qel")
    sig = os.path.join(work, "cliente.sig")
    data = os.path.join(work, "cliente.fix")
    subprocess.run([qel, "layout", "import", "--map", os.path.join(HERE, "cliente.map"),
                    os.path.join(HERE, "cliente.cpy"), "-o", sig], check=True)
    subprocess.run([sys.executable, os.path.join(HERE, "gen_records.py"), sig, str(records), data],
                   check=True)
    hand = os.path.join(work, "fixed_to_csv")
    subprocess.run([os.environ.get("CXX", "clang++"), "-std=c++20", "-O2", "-o", hand,
                    os.path.join(HERE, "fixed_to_csv.cc")], check=True)
    programs = {
        "qel record convert": ([qel, "record", "convert", "--layout", sig, "--from", "fixed",
                                "--to", "csv", data, "-o", os.path.join(work, "qel.csv")], None),
        "C++ a mano (offsets fijos, to_chars)": ([hand, data, os.path.join(work, "hand.csv")], None),
        "piso: copiar los campos sin convertir": ([hand, "--copy", data, os.path.join(work, "copy.csv")],
                                                   None),
    }
    cobc = shutil.which("cobc")
    if cobc:
        cob = os.path.join(work, "fixedcsv")
        subprocess.run([cobc, "-x", "-O2", "-fsign=EBCDIC", "-I", HERE, "-o", cob,
                        os.path.join(HERE, "fixed_to_csv.cob")], check=True)
        env = dict(os.environ, ENTRADA=data, SALIDA=os.path.join(work, "cobol.csv"))
        programs["GnuCOBOL (LINE SEQUENTIAL, STRING)"] = ([cob], env)
    else:
        print("cobc no está instalado: se omite el programa COBOL")

    size_mb = os.path.getsize(data) / 1e6
    print(f"{records} registros, {size_mb:.1f} MB; carga: {os.getloadavg()}")
    for name, (cmd, env) in programs.items():
        runs = sorted(timed(cmd, env) for _ in range(3))
        wall, cpu = runs[1]
        print(f"{name:40} {records / wall:12,.0f} reg/s {size_mb / wall:8.1f} MB/s (reloj)  "
              f"{records / cpu:12,.0f} reg/s {size_mb / cpu:8.1f} MB/s (CPU)")
    same = open(os.path.join(work, "qel.csv"), "rb").read() == open(os.path.join(work, "hand.csv"), "rb").read()
    print("qel y el programa a mano escriben el mismo CSV:", "sí" if same else "NO")
    print(f"carga al terminar: {os.getloadavg()}; archivos en {work}")


if __name__ == "__main__":
    main()
