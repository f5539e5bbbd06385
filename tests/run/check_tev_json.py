#!/usr/bin/env python3
"""Checks what `tev ... --json` wrote, read from standard input.

  check_tev_json.py schema SCHEMA.json   (a document)
  check_tev_json.py lines SCHEMA.json    (lines, of --jsonl)
  check_tev_json.py tree TRUTH.json.gz    (of one model, with --attributes)
  check_tev_json.py info TRUTH.json.gz    (of one model)

"schema" and "lines" validate it against a closed copy of SCHEMA, which allows no key that it does
not name. The others compare it with TRUTH, which lists what the model was made from.
Exit status: 0 right, 1 wrong (the first difference is shown), 2 bad usage.
"""

import gzip
import json
import sys

import jsonschema

KINDS = {0: "unsigned integer", 1: "float", 2: "text", 3: "double"}
NOT_KEPT = ("Complex", "Contents", "DataSource", "DataType", "Structure")
MODIFIER = ("applicationName", "applicationVersion", "tevVersion", "userName", "date", "comment")


IN_PLACE = ("allOf", "anyOf", "oneOf", "if", "then", "else", "not")


def close(schema, is_whole=True):
    """Forbids keys that the schema does not name. Schemas that apply in place of another, and entries,
    which lines add a key to, are closed by what refers to them."""
    if isinstance(schema, list):
        for item in schema:
            close(item, is_whole)
    elif isinstance(schema, dict):
        for key, value in schema.items():
            if key == "$defs":
                for name, definition in value.items():
                    close(definition, name != "entry")
            elif key == "properties":
                for part in value.values():
                    close(part)
            elif key in IN_PLACE:
                close(value, False)
            elif key == "items":
                close(value)
        if is_whole and ("properties" in schema or schema.get("$ref") == "#/$defs/entry"):
            schema["unevaluatedProperties"] = False


def closed_copy(path):
    with open(path, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    close(schema)
    return schema


def validate(text, path):
    jsonschema.Draft202012Validator(closed_copy(path)).validate(json.loads(text))


def validate_lines(text, path):
    schema = closed_copy(path)
    line_schema = {key: schema[key] for key in ("$schema", "$id", "$defs")}
    line_schema["$ref"] = "#/$defs/line"
    validator = jsonschema.Draft202012Validator(line_schema)
    lines = text.splitlines()
    if not lines:
        raise AssertionError("there is no line")
    for line in lines:
        validator.validate(json.loads(line))


def attributes(stored):
    return [{"name": name, "type": KINDS[code], "value": value}
            for name, code, value in sorted(stored, key=lambda entry: entry[0].encode())]


def kept(stored):
    return [entry for entry in stored if entry[0] not in NOT_KEPT and entry[0][:5] != "Link."]


def variable(stored, nodes):
    target = stored
    link = None
    if stored["linked"]:
        link = {"node": stored["linkNodeId"], "variable": stored["linkVariableIndex"]}
        target = nodes[link["node"]]["variables"][link["variable"]]
    return {
        "name": stored["name"],
        "type": stored["type"],
        "components": target["width"],
        "elements": target["byteCount"] // 4,
        "bytes": target["byteCount"],
        "link": link,
        "attributes": [] if stored["linked"] else attributes(kept(stored["attributes"])),
    }


def node(stored, depth, nodes):
    result = {"id": stored["id"], "parent": stored["parent"], "depth": depth, "reached": True,
              "kind": stored["type"], "name": stored["name"], "version": stored["version"]}
    if stored["type"] == "Group":
        result["attributes"] = attributes(stored["attributes"])
    elif stored["type"] == "Shape":
        of = stored["material"]
        result["material"] = {name: of[name] for name in
                              ("diffuse", "specular", "emissive", "ambient", "shininess")}
        result["material"].update(factor=of["materialFactor"], flag=of["materialFlag"])
    elif stored["type"] == "Geometry":
        result["variables"] = [variable(entry, nodes) for entry in stored["variables"]]
    else:
        raise AssertionError("a kind that this check does not know: " + stored["type"])
    return result


def expected_tree(truth):
    nodes = {entry["id"]: entry for entry in truth["nodes"]}

    def below(number, depth):
        while number:
            yield node(nodes[number], depth, nodes)
            yield from below(nodes[number]["firstChild"], depth + 1)
            number = nodes[number]["nextSibling"]

    return list(below(1, 0))


def compare(what, found, expected):
    if found != expected:
        raise AssertionError(f"{what}:\n found    {found}\n expected {expected}")


def check_tree(document, truth):
    found = document["files"][0]["nodes"]
    expected = expected_tree(truth)
    compare("number of nodes", len(found), len(expected))
    for one, other in zip(found, expected):
        compare(f"node {other['id']}", one, other)


def check_info(document, truth):
    found = document["files"][0]
    root = {name: value for name, _, value in truth["nodes"][0]["attributes"]}
    compare("version", found["version"], truth["file_version"])
    compare("modifiers", found["modifiers"],
            [{name: entry[name] for name in MODIFIER} for entry in truth["modifiers"]])
    compare("root attributes", found["rootAttributes"], attributes(truth["nodes"][0]["attributes"]))
    compare("nodes", found["numberOfNodes"], root["Number of Nodes in the Model"])
    compare("elements", found["numberOfElements"], root["Number of Elements in the Model"])
    compare("model file", found["modelFile"]["path"], root["Model File"])
    compare("results file size", found["resultsFile"]["size"], root["Results File Size"])
    results = {entry["name"].split("\x1e")[0] for of in truth["nodes"]
               for entry in of.get("variables", [])
               if entry["type"] > 11 and entry["name"].split("\x1e")[0]
               not in ("Node Ids", "Element IDs")}
    compare("results", found["results"], sorted(results, key=str.encode))


def main():
    schemas = {"schema": validate, "lines": validate_lines}
    checks = {"tree": check_tree, "info": check_info}
    if len(sys.argv) != 3 or sys.argv[1] not in (*schemas, *checks):
        print(__doc__, file=sys.stderr)
        return 2
    text = sys.stdin.buffer.read().decode("utf-8")
    try:
        if sys.argv[1] in schemas:
            schemas[sys.argv[1]](text, sys.argv[2])
        else:
            with gzip.open(sys.argv[2], "rt", encoding="utf-8") as file:
                checks[sys.argv[1]](json.loads(text), json.load(file))
    except (AssertionError, jsonschema.ValidationError) as error:
        print(error)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
