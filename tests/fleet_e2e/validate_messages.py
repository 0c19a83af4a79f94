#!/usr/bin/env python3
"""Checks VDA 5050 messages (a fleet bridge's or a console's) against the JSON schemas.

usage: validate_messages.py SCHEMA_DIR MESSAGES_FILE
MESSAGES_FILE holds one message a line: {"topic": "...", "document": {...}}.
Exit 0 when all validate; 1 with one line per failure; 77 when the schemas
or python3-jsonschema are missing (the caller skips)."""
import json
import os
import sys

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed")
    sys.exit(77)

schema_dir, messages_file = sys.argv[1], sys.argv[2]
if not os.path.isdir(schema_dir):
    print(f"no VDA 5050 schemas in {schema_dir}")
    sys.exit(77)

validators = {}
for name in ("connection", "state", "visualization", "factsheet", "order", "instantActions"):
    with open(os.path.join(schema_dir, name + ".schema"), encoding="utf-8") as f:
        schema = json.load(f)
    cls = jsonschema.validators.validator_for(schema)
    validators[name] = cls(schema, format_checker=cls.FORMAT_CHECKER)

problems = 0
checked = {}
with open(messages_file, encoding="utf-8") as f:
    for line in f:
        message = json.loads(line)
        kind = message["topic"].rsplit("/", 1)[-1]
        if kind not in validators:
            continue
        checked[kind] = checked.get(kind, 0) + 1
        for error in validators[kind].iter_errors(message["document"]):
            problems += 1
            path = "/".join(str(p) for p in error.absolute_path)
            print(f"{message['topic']}: {path}: {error.message}")
print("checked " + ", ".join(f"{n} {k}" for k, n in sorted(checked.items())), file=sys.stderr)
sys.exit(1 if problems else 0)
