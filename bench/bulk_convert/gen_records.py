#!/usr/bin/env python3
"""Writes COUNT fixed-width records of the layout in SIGNATURE to OUT (Windows-1252, one a
line): 1,000 random distinct records repeated. Negative numbers carry the letter sign marks
("}", "J".."R") that COBOL programs read."""
import random
import sys


def rut(rng, width):
    body = str(rng.randrange(1_000_000, 99_999_999))
    total, weight = 0, 2
    for d in reversed(body):
        total += int(d) * weight
        weight = 2 if weight == 7 else weight + 1
    check = {0: "0", 1: "K"}.get(total % 11, str(11 - total % 11))
    return (body + check).rjust(width, "0")


def slot(rng, code, length):
    letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ abcdefghijklmnopqrstuvwxyzÑñÁÉ"
    if code == "X":
        return "".join(rng.choice(letters) for _ in range(rng.randrange(length // 2, length + 1))).ljust(length)
    if code == "A":
        return "".join(rng.choice("ABCDEFGHIJ") for _ in range(length))
    if code in ("N", "S"):
        digits = str(rng.randrange(10 ** length)).rjust(length, "0")
        if code == "S" and rng.random() < 0.4:
            digits = digits[:-1] + "}JKLMNOPQR"[int(digits[-1])]
        return digits
    if code == "D":
        return f"{rng.randrange(1990, 2030):04}{rng.randrange(1, 13):02}{rng.randrange(1, 29):02}"
    if code == "R":
        return rut(rng, length)
    raise ValueError(code)


def main():
    signature, count, out = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    fields, lists = [], []  # (code, length) in record order; lists: (first, last, occurrences)
    for line in open(signature, encoding="utf-8").read().split("\n")[1:]:
        parts = line.strip().split(":")
        if parts[0] in ("CS", ""):
            continue
        length, _, precision = parts[1].partition(".")
        if parts[0] == "LB":
            lists.append([len(fields), None, int(precision or length)])
        elif parts[0] == "LE":
            lists[-1][1] = len(fields)
        else:
            fields.append((parts[0], int(length)))
    rng = random.Random(600)
    distinct = []
    for _ in range(1000):
        parts, i = [], 0
        while i < len(fields):
            group = next((l for l in lists if l[0] == i), None)
            if group is None:
                parts.append(slot(rng, *fields[i]))
                i += 1
                continue
            for _ in range(group[2]):
                parts.extend(slot(rng, *fields[k]) for k in range(group[0], group[1]))
            i = group[1]
        distinct.append(("".join(parts) + "\n").encode("cp1252"))
    with open(out, "wb") as f:
        for n in range(count):
            f.write(distinct[n % 1000])


if __name__ == "__main__":
    main()
