"""The cases on catalogues: how fast they are filled, gone through again and asked."""

import os
import pathlib
import shlex

from cases import MANY, MIB, Case, require
from document import text_of_mebibytes, text_of_seconds

MILLION = 1_000_000
FOLDERS = 8


class Catalogue(Case):
    """Filling a catalogue, and going through the archive again."""

    key = "catalogue"
    title = "Catalogue"
    models = ("many",)

    def prepare(self):
        self.count = FOLDERS * (MANY // 10 if self.quick else MANY)
        self.note = (
            f"{self.count:,} small files in {FOLDERS} folders, filled into a new catalogue, gone "
            "through again unchanged, and filled as two shards at once, which one merge makes one "
            "of; `find` looks at each file's size, time and number as the second scan does. The "
            "last row has one folder.")
        self._make_folders()
        tev = shlex.quote(self.arena.program("tev"))
        self.first = self._shell("`tev scan`",
                                 f"rm -f new.db; exec {tev} scan folders --catalogue new.db")
        self.info = self.runner("`tev info --jsonl`", [self.arena.program("tev"), "info", "--jsonl",
                                                       self.arena.path("folders")])
        self.arena.call(["sh", "-c", f"{tev} scan folders --catalogue known.db"])
        self.again = self._shell("`tev scan` again",
                                 f"exec {tev} scan folders --catalogue known.db")
        self.find = self.runner("`find`", ["find", self.arena.path("folders"), "-type", "f",
                                           "-printf", "%s %T@ %i %p\\n"])
        shards = " & ".join(f"{tev} scan folders --catalogue part-{k} --shard {k}/2"
                            for k in range(2))
        self.shards = self._shell("two shards", f"rm -f part-*; {shards} & wait")
        self.merge = self._shell("`tev merge` of these",
                                 f"rm -f all.db; exec {tev} merge all.db part-0 part-1")
        self.folder = self._shell("`tev scan`, one folder",
                                  f"rm -f one.db; exec {tev} scan folders/0 --catalogue one.db")
        self._check()

    def _make_folders(self):
        """Links to the models, as many as there are folders: each name is a file of its own."""
        names = [f"model{i}.tev" for i in range(self.count // FOLDERS)]
        for folder in (f"folders/{i}" for i in range(FOLDERS)):
            target = pathlib.Path(self.arena.path(folder))
            target.mkdir(parents=True, exist_ok=True)
            for name in names:
                os.link(self.arena.path(f"many/{name}"), target / name)

    def _shell(self, name, script, **options):
        return self.runner(name, ["sh", "-c", script], **options)

    def _check(self):
        told = (f" {self.count} files: {self.count} read, 0 unchanged, 0 failed\n").encode()
        require(self.arena.output(self.first).endswith(told), "the scan does not read each file")
        told = (f" {self.count} files: 0 read, {self.count} unchanged, 0 failed\n").encode()
        require(self.arena.output(self.again).endswith(told), "the second scan reads files")
        require(self.arena.output(self.info).count(b'"failure": null') == self.count,
                "tev info does not tell of each file")
        require(self.arena.output(self.find).count(b"\n") == self.count, "find finds other files")
        self.arena.output(self.shards)
        require(self.arena.output(self.merge).endswith(
            f": {self.count} models taken from 2 catalogues\n".encode()),
                "the merge does not take each model")

    def judge(self, goals):
        goals.at_least("two shards at once against one scan",
                       self.first.median / self.shards.median, 1.7)
        goals.at_least("a second scan against the first", self.first.median / self.again.median, 10)
        goals.at_most("a file in a second scan above `find`",
                      (self.again.median - self.find.median) / self.count, 20e-6, text_of_seconds)
        goals.at_most("`tev scan` over `tev info --jsonl`", self.first.median / self.info.median,
                      1.5, "{:.2f}".format)
        goals.at_most(f"memory for {FOLDERS} folders over that for one",
                      self.first.peak - self.folder.peak, 8 * MIB, text_of_mebibytes)


class Questions(Case):
    """Asking a catalogue of a million models."""

    key = "questions"
    title = "Questions"

    ASKED = (
        ["Bracket 1234"],
        ["titanium 42*"],
        ["PART-77"],
        ["--category", "Fatigue"],
        ["--result", "Probe 77"],
        ["--result", "Probe 77", "--category", "Buckling"],
        ["--result", "von Mises Stress", "--above", "999.9"],
        ["--result", "Displacement", "--below", "-0.1", "--category", "Fatigue"],
        ["--failed"],
        ["Gear 1234", "--result", "von Mises Stress", "--above", "500"],
    )

    def prepare(self):
        count = MILLION // 10 if self.quick else MILLION
        self.note = (f"`tev find --csv` in a catalogue of {count:,} models that a generator has "
                     "filled, with three parts, four results and two rows of extremes each.")
        catalogue = self.arena.path("million.db")
        os.makedirs(self.arena.path("empty"))
        tev = self.arena.program("tev")
        self.arena.call([tev, "scan", self.arena.path("empty"), "--catalogue", catalogue])
        self.arena.call(["python3", str(pathlib.Path(__file__).with_name("million.py")), catalogue,
                         str(count)])
        for question in self.ASKED:
            runner = self.runner("`tev find " + shlex.join(question) + "`",
                                 [tev, "find", catalogue, "--csv", *question], runs_per_turn=5)
            rows = self.arena.output(runner).count(b"\n") - 1
            require(rows > 0 or self.quick, f"nothing is found by {question}")

    def judge(self, goals):
        goals.at_most("the slowest question to a million models",
                      max(runner.median for runner in self.runners), 0.05, text_of_seconds)


CATALOGUE_CASES = (Catalogue, Questions)
