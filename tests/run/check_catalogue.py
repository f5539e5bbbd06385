#!/usr/bin/env python3
"""Whether a catalogue holds what the other verbs say of the same files.

check_catalogue.py TEV CATALOGUE [--stats] [--check] PATH...: runs "tev list", "info", "results
--stats" and "check" on the paths, and compares each answer with the rows of that file.
"""

import argparse
import json
import os
import sqlite3
import subprocess
import sys


def lines_of(tev, verb, paths, *options):
    run = subprocess.run([tev, verb, "--jsonl", *options, *paths], stdout=subprocess.PIPE,
                         stderr=subprocess.DEVNULL, check=False)
    return {os.path.abspath(entry["file"]): entry
            for entry in map(json.loads, run.stdout.splitlines())}


class Comparison:
    def __init__(self, catalogue):
        self.rows = sqlite3.connect(f"file:{catalogue}?mode=ro", uri=True)
        self.rows.row_factory = sqlite3.Row
        self.rows.text_factory = os.fsdecode  # a path may be no valid UTF-8
        self.faults = []

    def require(self, path, what, stored, told):
        if stored != told:
            self.faults.append(f"{path}: {what}: {stored!r} in the catalogue, {told!r} told")

    def model(self, path):
        return self.rows.execute("SELECT * FROM models WHERE path = ? AND gone = 0",
                                 (path,)).fetchone()

    def table(self, columns, table, model, order):
        return [tuple(row) for row in self.rows.execute(
            f"SELECT {columns} FROM {table} WHERE model_id = ? ORDER BY {order}", (model["id"],))]

    def compare_files(self, listed):
        stored = {row["path"] for row in
                  self.rows.execute("SELECT path FROM models WHERE gone = 0")}
        self.require("all", "files", sorted(stored), sorted(listed))

    def compare_facts(self, path, info, depth):
        model = self.model(path)
        status = os.stat(path)
        if model["mtime_ns"] is not None:
            self.require(path, "stamp", (model["bytes"], model["mtime_ns"], model["inode"]),
                         (status.st_size, status.st_mtime_ns, status.st_ino))
        self.require(path, "failure", model["failure_code"],
                     info["failure"] and info["failure"]["code"])
        self.require(path, "complete", bool(model["complete"]), info["complete"])
        if "bytes" not in info:
            self.require(path, "parts of nothing", self.table("*", "parts", model, "id"), [])
            return
        for column, key in (("bytes", "bytes"), ("version", "version"), ("title", "title"),
                            ("category", "category"), ("nodes", "nodes"),
                            ("elements", "elements")):
            self.require(path, key, model[column], info[key])
        program = info["programs"][-1] if info["programs"] else {}
        self.require(path, "application", (model["application"], model["application_version"]),
                     (program.get("name"), program.get("version")))
        self.require(path, "modified", model["modified"],
                     program.get("dateIso") or program.get("date"))
        self.compare_words(path, model, info)
        self.require(path, "part count", model["part_count"], info["partCount"])
        stored = self.table("path, id, name, kind, nodes, elements", "parts", model, "rowid")
        self.require(path, "parts", [(json.loads(groups), *part) for groups, *part in stored],
                     [(part["path"], part["id"], part["name"], part["kind"], part["nodes"],
                       part["elements"]) for part in info["parts"]])
        self.require(path, "steps",
                     self.table("text, label, value", "steps", model, "position"),
                     [(step["text"], step["label"], step["value"]) for step in info["steps"]])
        self.require(path, "results",
                     self.table("name, components, location", "results", model, "rowid"),
                     [(result["name"], result["components"], result["location"])
                      for result in info["results"]])
        self.require(path, "depth", (model["has_stats"], model["has_check"]),
                     (int(depth.stats), int(depth.check)))

    def compare_words(self, path, model, info):
        stored = self.rows.execute("SELECT title, parts, results FROM texts WHERE rowid = ?",
                                   (model["id"],)).fetchall()
        told = [info["title"] or "", *("\n".join(each["name"] for each in info[key])
                                       for key in ("parts", "results"))]
        has_none = info["title"] is None and not "".join(told).strip("\n")
        self.require(path, "words", [[text.split() for text in row] for row in stored],
                     [] if has_none else [[text.split() for text in told]])

    def compare_extremes(self, path, results):
        told = {}
        order = {step["text"]: place for place, step in enumerate(results.get("steps", []))}
        fields = sorted(results.get("fields", []),
                        key=lambda field: order.get(field["step"], -1))
        for field in fields:
            if not field["statistics"]:
                continue
            figures = list(enumerate(field["statistics"]["components"]))
            if field["statistics"]["magnitude"]:
                figures.append((-1, field["statistics"]["magnitude"]))
            for component, figure in figures:
                row = told.setdefault((field["part"], field["result"], component),
                                      [None, None, None, None, None, None])
                if figure["min"] is not None and (row[0] is None or figure["min"] < row[0]):
                    row[:3] = figure["min"], figure["minAt"], field["step"]
                if figure["max"] is not None and (row[3] is None or figure["max"] > row[3]):
                    row[3:] = figure["max"], figure["maxAt"], field["step"]
        stored = {row[:3]: list(row[3:]) for row in self.table(
            "part_id, result, component, min, min_at, min_step, max, max_at, max_step",
            "extremes", self.model(path), "rowid")}
        self.require(path, "extremes", stored, told)
        not_finite = self.rows.execute(
            "SELECT ifnull(sum(not_finite), 0) FROM extremes WHERE model_id = ? AND component >= 0",
            (self.model(path)["id"],)).fetchone()[0]
        self.require(path, "numbers that are not finite", not_finite,
                     sum(field["statistics"]["notFinite"] for field in fields
                         if field["statistics"]))

    def compare_findings(self, path, check):
        self.require(path, "findings",
                     self.table("severity, kind, block, node, text", "findings", self.model(path),
                                "rowid"),
                     [(finding["severity"], finding["kind"], finding["block"],
                       finding["node"] and finding["node"]["id"], finding["text"])
                      for finding in check.get("findings", [])])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tev")
    parser.add_argument("catalogue")
    parser.add_argument("paths", nargs="+")
    parser.add_argument("--stats", action="store_true")
    parser.add_argument("--check", action="store_true")
    arguments = parser.parse_args()
    comparison = Comparison(arguments.catalogue)
    listed = lines_of(arguments.tev, "list", arguments.paths)
    comparison.compare_files(listed)
    info = lines_of(arguments.tev, "info", arguments.paths)
    for path, entry in info.items():
        if "bytes" in entry:
            entry["partCount"] = listed[path]["partCount"]
    results = lines_of(arguments.tev, "results", arguments.paths, "--stats")
    checked = lines_of(arguments.tev, "check", arguments.paths)
    for path in listed:
        if arguments.stats:
            # What cannot be read of values makes a file fail, too.
            comparison.compare_facts(path, {**info[path], "failure": results[path]["failure"],
                                            "complete": results[path]["complete"]}, arguments)
            comparison.compare_extremes(path, results[path])
        else:
            comparison.compare_facts(path, info[path], arguments)
        if arguments.check:
            comparison.compare_findings(path, checked[path])
    print("\n".join(comparison.faults))
    return 1 if comparison.faults else 0


if __name__ == "__main__":
    sys.exit(main())
