#!/usr/bin/env bash
# bindings.sh SOURCE_FOLDER LAYOUT_PROGRAM...: the C# and Python declarations are what the generator
# makes of the header, and every struct has the compiler's size and offsets in both of them.
set -euo pipefail
source=$1
shift
folder=$source/orvix/c/bindings
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

python3 "$folder/generate.py" "$source/orvix/c/orvix.h" csharp "$scratch/Orvix.cs"
python3 "$folder/generate.py" "$source/orvix/c/orvix.h" python "$scratch/orvix.py"
diff -u "$folder/Orvix.cs" "$scratch/Orvix.cs"
diff -u "$folder/orvix.py" "$scratch/orvix.py"

"$@" | tr -d '\r' >"$scratch/c"
PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$folder python3 - >"$scratch/python" <<'PYTHON'
import ctypes
import orvix
for struct in orvix.STRUCTS:
    print(struct.__name__, ctypes.sizeof(struct))
    for name, *_ in struct._fields_:
        print(f"{struct.__name__}.{name} {getattr(struct, name).offset}")
PYTHON
diff -u "$scratch/c" "$scratch/python"

python3 - "$folder/Orvix.cs" >"$scratch/csharp" <<'PYTHON'
import re, sys
for size, struct, body in re.findall(
        r"Size = (\d+)\)\]\npublic unsafe struct (\w+) \{\n(.*?)\n\}", open(sys.argv[1]).read(), re.S):
    print(struct, size)
    for offset, name in re.findall(r"FieldOffset\((\d+)\)\] public .* (\w+)(?:\[\d+\])?;", body):
        print(f"{struct}.{name} {offset}")
PYTHON
diff -u "$scratch/c" "$scratch/csharp"
echo "$(wc -l <"$scratch/c") sizes and offsets agree"
