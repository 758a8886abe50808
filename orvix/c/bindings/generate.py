#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""generate.py HEADER (csharp | python | layout) OUT: declarations of orvix.h for another language.

    python3 orvix/c/bindings/generate.py orvix/c/orvix.h csharp orvix/c/bindings/Orvix.cs
    python3 orvix/c/bindings/generate.py orvix/c/orvix.h python orvix/c/bindings/orvix.py

The header is read with a deliberately small grammar: numbers defined as ORVIX_C_*, enums of
numbers, status types, handles, callbacks, structs of fixed-width members and functions. A line that
fits none of them is an error, so nothing of the header can be missed. `layout` makes a C program
that prints what the compiler thinks of every struct; a test compares it with both languages.
"""
import re
import sys

# Name in C: size, name in C#, name in Python's ctypes.
NUMBERS = {
    "int8_t": (1, "sbyte", "c_int8"), "uint8_t": (1, "byte", "c_uint8"),
    "uint16_t": (2, "ushort", "c_uint16"), "int32_t": (4, "int", "c_int32"),
    "uint32_t": (4, "uint", "c_uint32"), "int64_t": (8, "long", "c_int64"),
    "uint64_t": (8, "ulong", "c_uint64"), "float": (4, "float", "c_float"),
    "double": (8, "double", "c_double"), "char": (1, "byte", "c_char"),
}
POINTER_BYTES = 8
KEYWORDS = {"lock", "out", "ref", "in", "is", "object"}  # of C#, as names of parameters


class Header:
    """What the header declares, in its order."""

    def __init__(self, text):
        self.constants = []  # (name, value)
        self.aliases = {}    # name -> number
        self.handles = []
        self.callbacks = []  # (name, result, [(type, name)])
        self.structs = []    # (name, [(type, name, count)])
        self.functions = []  # (name, result, [(type, name)])
        self.types = []      # callbacks and structs, by the header's order
        for statement in self.statements(text):
            self.take(statement)

    @staticmethod
    def statements(text):
        """The declarations, one string each, without comments and the preprocessor's lines."""
        for name, value in re.findall(r"^#define (ORVIX_C_M[A-Z]+) (\d+)$", text, re.M):
            yield f"enum {{ {name} = {value} }}"
        text = re.sub(r"//[^\n]*", "", text)
        text = re.sub(r"#ifdef __cplusplus\n.*?#endif\n", "", text, flags=re.S)
        text = re.sub(r"^#(?:[^\n]*\\\n)*[^\n]*$", "", text, flags=re.M)
        depth, start = 0, 0
        for at, letter in enumerate(text):
            depth += {"{": 1, "}": -1}.get(letter, 0)
            if letter == ";" and depth == 0:
                yield " ".join(text[start:at].split())
                start = at + 1
        if text[start:].strip():
            raise SyntaxError(f"unfinished: {text[start:].strip()!r}")

    def take(self, statement):
        for pattern, method in (
            (r"enum \{ (.*?),? \}", self.take_constants),
            (r"typedef int32_t (orvix_\w+)", self.take_alias),
            (r"typedef struct (orvix_\w+) (orvix_\w+)", self.take_handle),
            (r"typedef struct (orvix_\w+) \{ (.*) \} (orvix_\w+)", self.take_struct),
            (r"typedef (.+?) ?\(ORVIX_C_CALL\* (orvix_\w+)\)\((.*)\)", self.take_callback),
            (r"ORVIX_C_API (.+?) ORVIX_C_CALL (orvix_\w+)\((.*)\)", self.take_function),
        ):
            found = re.fullmatch(pattern, statement)
            if found:
                return method(*found.groups())
        raise SyntaxError(f"no declaration that bindings know: {statement!r}")

    def take_constants(self, body):
        for item in body.split(","):
            name, value = re.fullmatch(r"(ORVIX_\w+) = (-?\d+)", item.strip()).groups()
            self.constants.append((name, int(value)))

    def take_alias(self, name):
        self.aliases[name] = "int32_t"

    def take_handle(self, name, again):
        assert name == again, name
        self.handles.append(name)

    def take_struct(self, name, body, again):
        assert name == again, name
        members = []
        for member in body.strip().rstrip(";").split(";"):
            kind, field, count = re.fullmatch(r"(\w+\*?) (\w+)(?:\[(\d+)\])?",
                                              member.strip()).groups()
            members.append((kind, field, int(count) if count else None))
        for kind, field, _ in members:
            if not (kind in NUMBERS or kind in self.aliases or kind == "void*" or
                    self.is_callback(kind)):
                raise SyntaxError(f"{name}.{field} is of a type that bindings do not know: {kind}")
        self.structs.append((name, members))
        self.types.append(self.structs[-1])

    def take_callback(self, result, name, parameters):
        self.callbacks.append((name, result, self.parameters(parameters)))
        self.types.append(self.callbacks[-1])

    def take_function(self, result, name, parameters):
        self.functions.append((name, result, self.parameters(parameters)))

    @staticmethod
    def parameters(text):
        if text == "void":
            return []
        return [re.fullmatch(r"(?:const )?([\w ]+\**) (\w+)", p.strip()).groups()
                for p in text.split(",")]

    def is_callback(self, kind):
        return any(kind == callback[0] for callback in self.callbacks)

    def bytes_of(self, kind):
        if self.is_callback(kind) or kind.endswith("*"):
            return POINTER_BYTES
        return NUMBERS[self.aliases.get(kind, kind)][0]

    def layout(self, members):
        """[(name, offset)] and the size, by the rule that all our systems share."""
        offset, widest, places = 0, 1, []
        for kind, name, count in members:
            size = self.bytes_of(kind)
            offset = -(-offset // size) * size
            places.append((name, offset))
            offset += size * (count or 1)
            widest = max(widest, size)
        return places, -(-offset // widest) * widest


def csharp(header):
    def plain(kind):
        """A parameter or result: pointers as they are, text and handles as pointers too."""
        stars = kind.count("*")
        base = kind.rstrip("*").replace("const ", "").strip()
        if header.is_callback(base):
            return base if stars == 0 else "IntPtr"
        base = header.aliases.get(base, base)
        if base in header.handles:
            return "IntPtr" + "*" * (stars - 1)
        return (NUMBERS[base][1] if base in NUMBERS else base) + "*" * stars

    def listed(parameters):
        return ", ".join(f"{plain(kind)} {'@' if name in KEYWORDS else ''}{name}"
                         for kind, name in parameters)

    out = ["// SPDX-License-Identifier: GPL-3.0-or-later",
           "// Made from orvix.h by generate.py; the header is the manual. Compile with /unsafe.",
           "using System;", "using System.Runtime.InteropServices;", "", "namespace Orvix {"]
    for name, members in header.structs:
        places, size = header.layout(members)
        out += ["", f"[StructLayout(LayoutKind.Explicit, Size = {size})]",
                f"public unsafe struct {name} {{"]
        for (kind, field, count), (_, offset) in zip(members, places):
            number = NUMBERS.get(header.aliases.get(kind, kind), (0, "IntPtr", ""))[1]
            fixed = f"fixed {number} {field}[{count}]" if count else f"{number} {field}"
            out.append(f"    [FieldOffset({offset})] public {fixed};")
        out.append("}")
    out.append("")
    for name, result, parameters in header.callbacks:
        out += ["[UnmanagedFunctionPointer(CallingConvention.Cdecl)]",
                f"public unsafe delegate {plain(result)} {name}({listed(parameters)});"]
    out += ["", "public static unsafe class NativeMethods {", '    private const string Library = "orvix";']
    out += [f"    public const int {name} = {value};" for name, value in header.constants]
    for name, result, parameters in header.functions:
        out += ["", "    [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]",
                f"    public static extern {plain(result)} {name}({listed(parameters)});"]
    out += ["}", "}"]
    return out


def python(header):
    def plain(kind):
        stars = kind.count("*")
        base = kind.rstrip("*").replace("const ", "").strip()
        base = header.aliases.get(base, base)
        if base == "void":
            return [None, "ctypes.c_void_p", "ctypes.POINTER(ctypes.c_void_p)"][stars]
        if base == "char" and stars == 1:
            return "ctypes.c_char_p"
        if base in header.handles:
            stars, name = stars - 1, "ctypes.c_void_p"
        else:
            name = "ctypes." + NUMBERS[base][2] if base in NUMBERS else base
        for _ in range(stars):
            name = f"ctypes.POINTER({name})"
        return name

    out = ["# SPDX-License-Identifier: GPL-3.0-or-later",
           '"""Made from orvix.h by generate.py; the header is the manual.',
           "", "    import orvix", '    library = orvix.load("liborvix.so")',
           "    error = orvix.orvix_error(size=1024)",
           '"""', "import ctypes", ""]
    out += [f"{name} = {value}" for name, value in header.constants]
    for declared in header.types:
        if declared in header.callbacks:
            name, result, parameters = declared
            kinds = ", ".join([str(plain(result))] + [plain(kind) for kind, _ in parameters])
            out += ["", "", f"{name} = ctypes.CFUNCTYPE({kinds})"]
            continue
        name, members = declared
        out += ["", "", f"class {name}(ctypes.Structure):", "    _fields_ = ["]
        for kind, field, count in members:
            out.append(f'        ("{field}", {plain(kind)}{f" * {count}" if count else ""}),')
        out.append("    ]")
    out += ["", "", f"STRUCTS = [{', '.join(name for name, _ in header.structs)}]", "", "",
            "def load(path):",
            '    """The library at a path, its functions declared."""',
            "    library = ctypes.CDLL(path)"]
    for name, result, parameters in header.functions:
        out.append(f"    library.{name}.restype = {plain(result)}")
        kinds = ", ".join(plain(kind) for kind, _ in parameters)
        out.append(f"    library.{name}.argtypes = [{kinds}]")
    out.append("    return library")
    return out


def layout(header):
    out = ["#include <stddef.h>", "#include <stdio.h>", "", '#include "orvix/c/orvix.h"', "",
           "int main(void) {"]
    for name, members in header.structs:
        out.append(f'    printf("{name} %u\\n", (unsigned)sizeof({name}));')
        out += [f'    printf("{name}.{field} %u\\n", (unsigned)offsetof({name}, {field}));'
                for _, field, _ in members]
    return out + ["    return 0;", "}"]


def main():
    if len(sys.argv) != 4 or sys.argv[2] not in ("csharp", "python", "layout"):
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        header = Header(file.read())
    makers = {"csharp": csharp, "python": python, "layout": layout}
    with open(sys.argv[3], "w", encoding="utf-8", newline="\n") as out:
        out.write("\n".join(makers[sys.argv[2]](header)) + "\n")


if __name__ == "__main__":
    main()
