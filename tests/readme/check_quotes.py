#!/usr/bin/env python3
"""Every ```cpp and ```python block of README.md must be a verbatim excerpt (up to its
indentation) of a file in examples/, so that the README shows code that ctest builds and runs.

Usage: check_quotes.py SOURCE_DIR
"""
import os
import re
import sys

EXTENSIONS = {"cpp": (".cc",), "python": (".py",)}


def dedent(lines):
    indent = min((len(l) - len(l.lstrip()) for l in lines if l.strip()), default=0)
    return [l[indent:] if l.strip() else "" for l in lines]


def quoted_in(block, text):
    lines = text.splitlines()
    for i in range(len(lines) - len(block) + 1):
        if dedent(lines[i:i + len(block)]) == block:
            return True
    return False


def main():
    source = sys.argv[1]
    readme = open(os.path.join(source, "README.md"), encoding="utf-8").read()
    examples = os.path.join(source, "examples")
    blocks = re.findall(r"^```(cpp|python)\n(.*?)^```$", readme, re.M | re.S)
    if not blocks:
        print("README.md quotes no examples")
        return 1
    status = 0
    for language, body in blocks:
        block = dedent(body.splitlines())
        files = [os.path.join(examples, f) for f in sorted(os.listdir(examples))
                 if f.endswith(EXTENSIONS[language])]
        if not any(quoted_in(block, open(f, encoding="utf-8").read()) for f in files):
            print(f"README.md: this {language} block is in no file of examples/:\n{body}")
            status = 1
    print(f"{len(blocks)} quoted blocks checked")
    return status


if __name__ == "__main__":
    sys.exit(main())
