#!/usr/bin/env python3
"""Checks what `tev ... --json` wrote, read from standard input.

  check_tev_json.py schema SCHEMA.json   (a document)
  check_tev_json.py lines SCHEMA.json    (lines, of --jsonl)
  check_tev_json.py closed SCHEMA.json   (nothing, for it makes a document of its own)
  check_tev_json.py tree TRUTH.json.gz    (of one model)
  check_tev_json.py info TRUTH.json.gz    (of one model)
  check_tev_json.py stats TRUTH.json.gz   (of one model, with --stats)

"schema" and "lines" validate it against a closed copy of SCHEMA, which allows no key that it does
not name. "closed" checks that copy: a key more is refused in every object. The others compare it with TRUTH, which lists what the model was made from.
Exit status: 0 right, 1 wrong (the first difference is shown), 2 bad usage.
"""

import gzip
import json
import struct
import sys

import jsonschema

KINDS = {0: "unsigned integer", 1: "float", 2: "text", 3: "double"}
NOT_KEPT = ("Complex", "Contents", "DataSource", "DataType", "Structure")


IN_PLACE = ("allOf", "anyOf", "if", "then", "else", "not")


def close(schema, is_whole=True):
    """Forbids keys that the schema does not name. Schemas that apply to the same object as another, and
    entries, which lines add a key to, are closed by what refers to them. Each of "oneOf" is the whole."""
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
            elif key in ("items", "oneOf"):
                close(value)
        # Where other keys are described, too, it is closed as it is.
        if is_whole and "additionalProperties" not in schema and (
                "properties" in schema or schema.get("$ref") == "#/$defs/entry"):
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


def sample(schema, definitions):
    """A value that fits the schema, with all the keys that this names."""
    if "$ref" in schema:
        return sample(definitions[schema["$ref"].removeprefix("#/$defs/")], definitions)
    if "oneOf" in schema:
        (value,) = [branch for branch in schema["oneOf"] if branch.get("type") != "null"]
        return sample(value, definitions)
    if "const" in schema or "enum" in schema:
        return schema["const"] if "const" in schema else schema["enum"][0]
    of = schema["type"] if isinstance(schema["type"], str) else schema["type"][0]
    if of == "array":
        return [sample(schema["items"], definitions)] * schema.get("minItems", 1)
    if of == "object":
        value = {key: sample(part, definitions) for key, part in schema.get("properties", {}).items()}
        for part in schema.get("allOf", []):
            value.update(sample(part, definitions))
        return value
    return {"string": "text", "integer": schema.get("minimum", 0), "number": 1.5, "boolean": True}[of]


def objects(value, path="#"):
    """All the objects in a value, each with its path."""
    if isinstance(value, dict):
        yield path, value
    entries = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, entry in entries:
        yield from objects(entry, f"{path}/{key}")


def check_closed(_, path):
    schema = closed_copy(path)
    line = {**schema["$defs"]["line"], "$defs": schema["$defs"]}
    for part in (schema, line):
        validator = jsonschema.Draft202012Validator(part)
        value = sample(part, schema["$defs"])
        validator.validate(value)
        for place, entry in objects(value):
            entry["unnamed"] = None
            if validator.is_valid(value):
                raise AssertionError(f"a key more is taken at {place}")
            del entry["unnamed"]


def double(value):
    """A float as the double that it is."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


def attributes(stored):
    return [{"name": name, "type": KINDS[code], "value": double(value) if code == 1 else value}
            for name, code, value in sorted(stored, key=lambda entry: entry[0].encode())]


def kept(stored):
    return [entry for entry in stored if entry[0] not in NOT_KEPT and entry[0][:5] != "Link."]


def shown(name):
    return name.replace("\x1e", " ")


def variable(stored, nodes):
    target = stored
    link = None
    if stored["linked"]:
        link = {"node": stored["linkNodeId"], "variable": stored["linkVariableIndex"]}
        target = nodes[link["node"]]["variables"][link["variable"]]
    own = [] if stored["linked"] else stored["attributes"]
    return {
        "name": shown(stored["name"]),
        "type": stored["type"],
        "components": target["width"],
        "values": target["byteCount"] // 4,
        "bytes": target["byteCount"],
        "link": link,
        "attributes": attributes(kept(own)),
        "storedAttributes": attributes([entry for entry in own if entry not in kept(own)]),
    }


def node(stored, depth, nodes):
    result = {"id": stored["id"], "parent": stored["parent"], "depth": depth, "reached": True,
              "kind": stored["type"], "name": shown(stored["name"]), "version": stored["version"]}
    if stored["type"] == "Group":
        result["transform"] = {name: stored[name] for name in ("translation", "rotation", "scale")}
        result["attributes"] = attributes(stored["attributes"])
    elif stored["type"] == "Shape":
        of = stored["material"]
        result["material"] = {name: [double(value) for value in of[name]] for name in
                              ("diffuse", "specular", "emissive", "ambient")}
        result["material"].update(shininess=double(of["shininess"]),
                                  factor=double(of["materialFactor"]), flag=of["materialFlag"])
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


NO_RESULTS = ("Node Ids", "Coordinates", "Connectivity", "Polylength", "Element Ids",
              "Element Indices", "Element IDs")
SHOWN = ("Model File", "Model File Size", "Results File", "Results File Size", "Length Unit",
         "Unit Scale", "Number of Nodes in the Model", "Number of Elements in the Model")
UNITS = {"B": 1, "KB": 1024, "MB": 1024 ** 2}


def size_of(text):
    number, unit = text.split(" ")
    return round(float(number) * UNITS[unit])


def steps(truth):
    """The texts of all steps by the number after the equals sign."""
    texts = {name.split("\x1e", 1)[1] for of in truth["nodes"] for entry in of.get("variables", [])
             for name in [entry["name"]] if "\x1e" in name}
    return sorted(texts, key=lambda text: float(text.split(" = ")[1]))


def check_info(document, truth):
    found = document["files"][0]
    stored = truth["nodes"][0]["attributes"]
    root = {name: value for name, _, value in stored}
    compare("version", found["version"], truth["file_version"])
    compare("programs", [[entry[key] for key in ("name", "version", "user", "date", "comment")]
                         for entry in found["programs"]],
            [[entry[key] for key in ("applicationName", "applicationVersion", "userName", "date",
                                     "comment")] for entry in truth["modifiers"]])
    compare("attributes", found["attributes"],
            attributes([entry for entry in stored if entry[0] not in SHOWN]))
    compare("nodes", found["nodes"], root["Number of Nodes in the Model"])
    compare("elements", found["elements"], root["Number of Elements in the Model"])
    compare("units", found["units"], {"length": root["Length Unit"],
                                      "scale": double(root["Unit Scale"])})
    compare("model file", found["modelFile"]["path"], root["Model File"])
    compare("results file bytes", found["resultsFile"]["bytes"],
            size_of(root["Results File Size"]))
    compare("steps", [step["text"] for step in found["steps"]], steps(truth))
    compare("parts", [part["name"] for part in found["parts"]],
            [entry["name"] for entry in truth["nodes"] if entry["type"] == "Shape"])
    results = {entry["name"].split("\x1e")[0] for of in truth["nodes"]
               for entry in of.get("variables", []) if entry["type"] > 11}
    compare("results", [result["name"] for result in found["results"]],
            sorted(results.difference(NO_RESULTS), key=str.encode))


def check_stats(document, truth):
    check_info(document, truth)
    nodes = {entry["id"]: entry for entry in truth["nodes"]}
    for part in document["files"][0]["parts"]:
        geometry = nodes[nodes[part["id"]]["firstChild"]]
        lengths = next(of["values"] for of in geometry["variables"] if of["name"] == "Polylength")
        compare(f"part {part['id']}", part["elementsByNodes"],
                [{"nodes": length, "elements": lengths.count(length)}
                 for length in sorted(set(lengths))])


def main():
    schemas = {"schema": validate, "lines": validate_lines, "closed": check_closed}
    checks = {"tree": check_tree, "info": check_info, "stats": check_stats}
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
