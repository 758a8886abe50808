#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""hardening.py COMMANDS READER PRODUCT ...: what cmake/OrvixHardening.cmake asks for is in what is built.

Every source of a room in COMMANDS (compile_commands.json) was compiled with it, and every product was
linked with it; READER is readelf or objdump, by the products' system. Prints each one that is missing,
and ends with 1 if there is any."""
import json
import os
import re
import shlex
import subprocess
import sys

ROOMS = ("orvix", "localization", "parallel", "importer", "detection", "reports", "edits", "output", "cli")
COMPILED = ("-D_FORTIFY_SOURCE=2", "-fstack-protector-strong", "-fcf-protection=full")
COMPILED_ON_LINUX = ("-fstack-clash-protection",)
SMALL = 100_000  # bytes of a product without an array to guard: the library of texts
LARGE = 1_000_000  # bytes of a product with thousands of functions; on Windows the library of texts,
# which holds the compiler's own library too, is smaller
ENTRY = bytes.fromhex("f30f1efa")  # endbr64, where an indirect jump may arrive


def said(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def uncompiled(commands, wanted):
    with open(commands) as file:
        entries = json.load(file)
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    rooms = tuple(os.path.join(root, room) + os.sep for room in ROOMS)
    sources = [e for e in entries if e["file"].startswith(rooms) and e["file"].endswith((".cpp", ".c"))]
    if not sources:
        yield f"{commands} names no source of the rooms"
    for entry in sources:
        words = shlex.split(entry["command"])
        for option in wanted:
            if option not in words:
                yield f"{os.path.relpath(entry['file'], root)}: compiled without {option}"


def missing_of_elf(reader, product):
    header, dynamic = said(reader, "-hW", product), said(reader, "-dW", product)
    segments, symbols = said(reader, "-lW", product), said(reader, "--dyn-syms", "-W", product)
    if not re.search(r"Type:\s+DYN", header):
        yield "is bound to one address"
    if "INTERP" in segments and not re.search(r"\(FLAGS_1\).*\bPIE\b", dynamic):
        yield "is a program of one address"
    if "GNU_RELRO" not in segments or not re.search(r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*\bNOW\b", dynamic):
        yield "keeps its table of addresses writable (no full RELRO)"
    if not re.search(r"GNU_STACK\s+(0x\w+\s+){5}RW\s", segments):
        yield "has a stack that can be executed"
    if re.search(r"LOAD\s+(0x\w+\s+){5}RWE", segments) or "TEXTREL" in dynamic:
        yield "has code that can be written"
    if os.path.getsize(product) < SMALL:
        return
    if "__stack_chk_fail" not in symbols:
        yield "has no stack protector"
    if not re.search(r"__(?!stack)\w+_chk\b", symbols):
        yield "has no checked copies (fortify)"


def missing_of_pe(reader, product):
    headers = said(reader, "-p", product)
    for flag in ("HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"):
        if not re.search(rf"^\s+{flag}$", headers, re.MULTILINE):
            yield f"lacks {flag}"
    if not re.search(r"\.reloc\b", said(reader, "-h", product)):
        yield "cannot be moved (no relocations)"


def is_marked(product):
    """Whether functions begin with a mark for indirect jumps; large products have thousands."""
    with open(product, "rb") as file:
        return file.read().count(ENTRY) >= (1 if os.path.getsize(product) < LARGE else 100)


def main():
    commands, reader, *products = sys.argv[1:]
    on_windows = products[0].endswith((".exe", ".dll"))
    faults = list(uncompiled(commands, COMPILED if on_windows else COMPILED + COMPILED_ON_LINUX))
    for product in products:
        missing = list((missing_of_pe if on_windows else missing_of_elf)(reader, product))
        if not is_marked(product):
            missing.append("has no marks for indirect jumps (control-flow protection)")
        faults += [f"{os.path.basename(product)} {what}" for what in missing]
    print("\n".join(faults) if faults else f"{len(products)} products are hardened")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
