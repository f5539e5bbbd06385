"""The cases: what runs against what, on which models, and what is asked for."""

import json
import os
import pathlib
import re
import shutil
import sys

from contest import Runner
from document import table, text_of_mebibytes, text_of_seconds

GIB = 2**30
MIB = 2**20
BIG_DATA_ROOM = 10 * GIB
NUMBERS = 8_000_000
SHAPES = 20_000
MANY = 10_000


def require(good, what):
    if not good:
        sys.exit(f"bench: {what}")


class Goals:
    """What was asked for and what came out."""

    def __init__(self):
        self.rows = []

    def at_least(self, what, factor, bound, aim=None):
        asked = f"at least {bound:g} times" + (f" (aim {aim:g})" if aim else "")
        self._add(what, asked, f"{factor:.1f} times", factor >= bound)

    def at_most(self, what, value, bound, render):
        self._add(what, f"at most {render(bound)}", render(value), value <= bound)

    def within(self, what, values, least, most):
        found = f"{min(values):.2f} to {max(values):.2f}"
        self._add(what, f"{least:.2f} to {most:.2f}", found,
                  least <= min(values) and max(values) <= most)

    def _add(self, what, asked, found, met):
        self.rows.append([what, asked, found, "met" if met else "**missed**"])


class Case:
    """A comparison of programs. The first runner is the one that is measured against the rest."""

    key = ""
    title = ""
    models = ()
    note = ""

    def __init__(self, arena, quick):
        self.arena = arena
        self.quick = quick
        self.runners = []

    def prepare(self):
        """Makes the files and the runners, and checks that all of them do the same work."""
        raise NotImplementedError

    def judge(self, goals):
        """Adds the case's goals."""

    def runner(self, name, command, **options):
        self.runners.append(Runner(name, command, **options))
        return self.runners[-1]

    def model(self, name):
        return self.arena.path(name + ".tev")

    def section(self):
        base = self.runners[0].median
        rows = [[runner.name, text_of_seconds(runner.median),
                 f"{text_of_seconds(min(runner.seconds))} to "
                 f"{text_of_seconds(max(runner.seconds))}",
                 *self._usage(runner), f"{runner.median / base:.2f}"] for runner in self.runners]
        header = ["Program", "Median", "Range", "Processor", "Peak memory", "Ratio"]
        return f"### {self.title}\n\n{self.note}\n\n{table(header, rows)}"

    @staticmethod
    def _usage(runner):
        if not runner.peaks:
            return "", ""
        return text_of_seconds(runner.processor_median), text_of_mebibytes(runner.peak)

    def streams(self, path):
        """Inflated bytes of a model's streams by name, and its largest heavy block."""
        answer = json.loads(self.arena.call([self.arena.program("tev"), "blocks", "--json", path]))
        sizes = {}
        largest = 0
        for block in answer["files"][0]["blocks"]:
            size = block["inflatedBytes"]
            sizes[block["stream"]] = sizes.get(block["stream"], 0) + size
            if block["stream"] == "Heavy Data":
                largest = max(largest, size)
        return sizes, largest

    def judge_peak(self, goals, what, runners):
        """The largest peak of an analysis of the dump's model."""
        _, largest = self.streams(self.model("dump"))
        goals.at_most(f"peak memory of {what} (four blocks, two fields, 32 MiB)",
                      max(runner.peak for runner in runners), 6 * largest + 32 * MIB,
                      text_of_mebibytes)

    def judge_budget(self, goals, name):
        """What no ordinary model comes near the limit of."""
        times = self.arena.call([self.arena.program("bench_budget"), self.model(name)])
        goals.at_most(f"what \"{name}\" refers to of a stream, in lengths of it (the limit is 16)",
                      float(times), 2, "{:.2f}".format)


class Dump(Case):
    key = "dump"
    title = "Dump"
    models = ("dump",)
    note = ("1,000,000 nodes with 8,000,000 numbers, shuffled and deflated at level 6 in all three "
            "formats, written as text to the null device. `h5dump` and `ncdump` write each value "
            "once; the dump of TevInfo has the node ids twice. The plain loop writes the same "
            "text as TevInfo, byte for byte, to a C++ stream; it loads the values through the same "
            "library.")

    def prepare(self):
        model = self.model("dump")
        rivals = self.arena.program("bench_rivals")
        for kind in ("hdf5", "netcdf"):
            self.arena.call([rivals, kind, model, self.arena.path("dump." + kind)])
        self.ours = self.runner("`TevInfo --extract-data`",
                                [self.arena.program("TevInfo"), "--extract-data", model],
                                runs_per_turn=5)
        self.h5dump = self.runner("`h5dump`", ["h5dump", self.arena.path("dump.hdf5")])
        self.ncdump = self.runner("`ncdump`", ["ncdump", self.arena.path("dump.netcdf")])
        loop = self.runner("plain loop over a C++ stream",
                           [self.arena.program("bench_stream_dump"), model])
        memory_line, text = self.arena.output(self.ours).split(b"\n", 1)
        require(memory_line.startswith(b"Peak Memory Usage: "), "the dump lacks its memory line")
        require(text == self.arena.output(loop), "the plain loop writes another text")
        self._check_rivals()

    def _check_rivals(self):
        h5dump = self.arena.output(self.h5dump)
        data = re.sub(rb"\(\d+(,\d+)?\):", b"", h5dump)
        values = sum(block.count(b",") + 1
                     for block in re.findall(rb"DATA \{(.*?)\}", data, re.DOTALL))
        require(values == NUMBERS, f"h5dump wrote {values} numbers")
        data = self.arena.output(self.ncdump).split(b"data:", 1)[1]
        values = data.count(b",") + data.count(b";")
        require(values == NUMBERS, f"ncdump wrote {values} numbers")

    def judge(self, goals):
        self.judge_budget(goals, "dump")
        goals.at_least("dump against `h5dump`", self.h5dump.median / self.ours.median, 20, 30)
        goals.at_least("dump against `ncdump`", self.ncdump.median / self.ours.median, 25, 40)
        sizes, largest = self.streams(self.model("dump"))
        data = sizes["Heavy Data"]
        require(data == 4 * NUMBERS, "the heavy data has another size")
        goals.at_most("peak memory of the dump (1.15 times the data, one heavy block, 32 MiB)",
                      self.ours.peak, 1.15 * data + largest + 32 * MIB, text_of_mebibytes)


class Statistics(Case):
    key = "statistics"
    title = "Statistics"
    models = ("dump",)
    note = ("Minimum, maximum, mean and more of all results of the dump's model, of which the values "
            "are read and inflated: 16 of 32 MB, and 4 MB of node ids. The program on HDF5 reads the "
            "same values and takes minimum, maximum and mean. The inflating is shared by two "
            "threads, or left to one. The last row is no program but the time that zlib alone takes "
            "in one thread for these blocks and to put their bytes in order; the aim is 0.8 times "
            "that with two threads, a ratio of 1.25.")

    def prepare(self):
        model = self.model("dump")
        rival = self.arena.path("dump.hdf5")
        self.arena.call([self.arena.program("bench_rivals"), "hdf5", model, rival])
        command = [self.arena.program("tev"), "results", "--stats", "--csv", model]
        self.ours = self.runner("`tev results --stats`", [*command, "-j", "2"], runs_per_turn=5)
        self.alone = self.runner("`tev results --stats -j 1`", [*command, "-j", "1"],
                                 runs_per_turn=5)
        self.dump = self.runner("`TevInfo --extract-data`",
                                [self.arena.program("TevInfo"), "--extract-data", model])
        self.rival = self.runner("program on HDF5",
                                 [self.arena.program("bench_hdf5_statistics"), rival],
                                 runs_per_turn=5)
        self.runner("zlib alone", [self.arena.program("bench_inflate"), "--heavy", "0,2,3", model],
                    measures_itself=True)
        answer = self.arena.output(self.ours)
        require(answer == self.arena.output(self.alone), "the number of threads changes the answer")
        require(self._figures_of(answer) == self._rival_figures(), "the two programs disagree")

    @staticmethod
    def _figures_of(answer):
        """Result, component, minimum and maximum to six digits."""
        heading, *lines = answer.splitlines()
        rows = [dict(zip(heading.split(b","), line.split(b","))) for line in lines]
        return {(row[b"result"], int(row[b"component"]) - 1, b"%g" % float(row[b"min"]),
                 b"%g" % float(row[b"max"]))
                for row in rows if row[b"component"] != b"magnitude"}

    def _rival_figures(self):
        found = set()
        for line in self.arena.output(self.rival).splitlines():
            name, _, figures = line.rpartition(b": ")
            path, _, component = name.rpartition(b" ")
            least, most, _ = figures.split()
            found.add((path.split(b"/")[-1].split(b"\x1e")[0], int(component), least, most))
        return found

    def judge(self, goals):
        goals.at_least("statistics against the program on HDF5",
                       self.rival.median / self.ours.median, 1.5)
        goals.at_least("statistics with one thread against the same",
                       self.rival.median / self.alone.median, 1.0)
        self.judge_peak(goals, "the statistics", [self.ours, self.alone])


class Diff(Case):
    key = "diff"
    title = "Diff"
    models = ("dump", "other-dump")
    note = ("The dump's model and one of the same numbers, deflated at another level, so that no "
            "block is stored in the same bytes: what two files have alike is inflated but once. "
            "Every value of both is inflated and compared. The last row is no program but the time "
            "that zlib alone takes in one thread for the blocks of both and to put their bytes in "
            "order.")

    def prepare(self):
        model = self.model("dump")
        other = self.model("other-dump")
        rival = self.arena.path("dump.hdf5")
        self.arena.call([self.arena.program("bench_rivals"), "hdf5", model, rival])
        shutil.copyfile(rival, rival + ".copy")
        command = [self.arena.program("tev"), "diff", model, other]
        self.ours = self.runner("`tev diff`", [*command, "-j", "2"], runs_per_turn=5)
        self.alone = self.runner("`tev diff -j 1`", [*command, "-j", "1"], runs_per_turn=5)
        self.rival = self.runner("`h5diff`", ["h5diff", rival, rival + ".copy"])
        self.runner("zlib alone",
                    [self.arena.program("bench_inflate"), "--heavy", "0,1,2,3", model, other],
                    measures_itself=True)
        for ours in (self.ours, self.alone):
            require(self.arena.output(ours) == b"The models are the same\n",
                    "tev diff finds a difference")
        require(self.arena.output(self.rival) == b"", "h5diff finds a difference")

    def judge(self, goals):
        goals.at_least("diff against `h5diff`", self.rival.median / self.ours.median, 2, 3)
        self.judge_peak(goals, "the diff", [self.ours, self.alone])


class Python(Case):
    key = "python"
    title = "From Python"
    models = ("dump",)
    note = ("All fields of the dump's model as arrays of NumPy, from opening the file on; the start of "
            "Python and the imports do not count. `h5py` reads the same values.")

    def prepare(self):
        model = self.model("dump")
        rival = self.arena.path("dump.hdf5")
        self.arena.call([self.arena.program("bench_rivals"), "hdf5", model, rival])
        build = pathlib.Path(self.arena.program(".")).resolve().parent
        script = str(pathlib.Path(__file__).with_name("load_fields.py"))
        python = ["/usr/bin/env", f"PYTHONPATH={build / 'python'}", "/usr/bin/python3", script]
        self.ours = self.runner("`tev`", [*python, "tev", model], measures_itself=True)
        self.rival = self.runner("`h5py`", [*python, "h5py", rival], measures_itself=True)
        ours, theirs = (self.arena.output(runner).split()[1:]
                        for runner in (self.ours, self.rival))
        require(ours == theirs and int(ours[0]) > 0, "the two packages read other values")

    def judge(self, goals):
        goals.at_least("fields from Python against `h5py`", self.rival.median / self.ours.median, 1)


class Export(Case):
    key = "export"
    title = "Export"
    models = ("dump",)
    note = ("The dump's model as XDMF, and the same values by a program of h5py from the HDF5 file of "
            "the other cases: both inflate, and store with shuffled bytes at deflate level 1.")

    def prepare(self):
        rival = self.arena.path("dump.hdf5")
        self.arena.call([self.arena.program("bench_rivals"), "hdf5", self.model("dump"), rival])
        self.ours = self.runner("`tev export`",
                                [self.arena.program("tev"), "export", self.model("dump"), "-o",
                                 self.arena.path("export.xdmf")])
        self.rival = self.runner("program on h5py", [
            "/usr/bin/python3", os.path.join(os.path.dirname(__file__), "h5py_export.py"), rival,
            self.arena.path("export-rival.h5")])
        for runner in self.runners:
            self.arena.output(runner)
        sizes = [os.path.getsize(self.arena.path(name))
                 for name in ("export.h5", "export-rival.h5")]
        require(0.8 < sizes[0] / sizes[1] < 1.25, f"the exports have {sizes} bytes")

    def judge(self, goals):
        goals.at_least("export against the same by h5py",
                       self.rival.median / self.ours.median, 1)


class ManyNodes(Case):
    key = "nodes"
    title = "Report, many nodes"
    models = ("nodes",)
    note = ("20,000 shapes, each with a geometry of 3 variables with 3 attributes. For `h5dump -A` "
            "the same tree as groups, data sets and attributes. The last row is no program but the "
            "time that zlib alone takes for the blocks that a report reads.")

    def prepare(self):
        model = self.model("nodes")
        rival = self.arena.path("nodes.hdf5")
        self.arena.call([self.arena.program("bench_rivals"), "hdf5", model, rival])
        self.ours = self.runner("`TevInfo`", [self.arena.program("TevInfo"), model],
                                runs_per_turn=10)
        self.h5dump = self.runner("`h5dump -A`", ["h5dump", "-A", rival])
        self.start = self.runner("trivial program", [self.arena.program("bench_start"), model],
                                 runs_per_turn=20)
        self.inflation = self.runner("zlib alone", [self.arena.program("bench_inflate"), model],
                                     measures_itself=True)
        require(f'"Number of Parts" value="{SHAPES}"'.encode() in self.arena.output(self.ours),
                "the report has another number of parts")
        tree = self.arena.output(self.h5dump)
        require(tree.count(b"DATASET ") == 3 * SHAPES, "h5dump tells of other data sets")
        require(tree.count(b"ATTRIBUTE ") == 9 * SHAPES, "h5dump tells of other attributes")

    def judge(self, goals):
        self.judge_budget(goals, "nodes")
        goals.at_least("report, many nodes, against `h5dump -A`",
                       self.h5dump.median / self.ours.median, 60)
        goals.at_most("report, many nodes (4 times the inflation, and the trivial program)",
                      self.ours.median, 4 * self.inflation.median + self.start.median,
                      text_of_seconds)
        sizes, _ = self.streams(self.model("nodes"))
        read = sum(size for name, size in sizes.items() if name != "Heavy Data")
        goals.at_most("peak memory of the report (6 times the inflated streams, 32 MiB)",
                      self.ours.peak, 6 * read + 32 * MIB, text_of_mebibytes)


class MuchData(Case):
    key = "data"
    title = "Report, much data"
    models = ("small-data",)
    note = ("The same tree with 4 MiB and with 4 GiB of heavy data, in compressed blocks of 4 and of "
            "64 MiB, both with node sets in the last block, which a report reads. The data are "
            "zeros, so that the files are small; none of it is inflated.")

    def prepare(self):
        self.big = None
        if shutil.disk_usage(self.arena.directory).free < BIG_DATA_ROOM:
            self.note += (" **The model of 4 GiB was left out: the disk has less than 10 GiB "
                          "free.**")
        else:
            self.arena.call([self.arena.program("bench_models"), str(self.arena.directory),
                             "big-data"])
        program = self.arena.program("TevInfo")
        self.small = self.runner("4 MiB", [program, self.model("small-data")], runs_per_turn=20)
        small = self._report(self.small)
        require(b'"Number of Parts" value="1"' in small, "the report has another number of parts")
        if os.path.exists(self.model("big-data")):
            self.big = self.runner("4 GiB", [program, self.model("big-data")], runs_per_turn=20)
            require(small == self._report(self.big), "the two reports differ")

    def _report(self, runner):
        """The report without what tells of memory and of the file's size."""
        return re.sub(rb"Peak Memory Usage.*|.*Tev File Size.*", b"", self.arena.output(runner))

    def judge(self, goals):
        self.judge_budget(goals, "small-data")
        if self.big is not None:
            goals.at_most("time for 4 GiB of heavy data over that for 4 MiB",
                          self.big.median / self.small.median, 1.2, "{:.2f}".format)
            # The index is in memory, and sizes vary by some pages.
            goals.at_most("memory for 4 GiB of heavy data over that for 4 MiB",
                          self.big.peak - self.small.peak, 1 * MIB, text_of_mebibytes)


class Start(Case):
    key = "start"
    title = "Start"
    models = ("tiny",)
    note = ("A report on a model of three nodes, start to end, against a program with the same "
            "shared libraries that opens the file and prints one line through iostream.")

    def prepare(self):
        model = self.model("tiny")
        self.ours = self.runner("`TevInfo`", [self.arena.program("TevInfo"), model],
                                runs_per_turn=40)
        self.trivial = self.runner("trivial program", [self.arena.program("bench_start"), model],
                                   runs_per_turn=40)
        require(b'"Number of Parts" value="1"' in self.arena.output(self.ours),
                "the report has another number of parts")
        require(self.arena.output(self.trivial) == b"The file is open.\n",
                "the trivial program does not do its work")

    def judge(self, goals):
        goals.at_most("start to end on a tiny model over the trivial program",
                      self.ours.median / self.trivial.median, 1.5, "{:.2f}".format)


class Sweep(Case):
    key = "sweep"
    title = "Sweep"
    models = ("many",)

    def prepare(self):
        count = MANY // 10 if self.quick else MANY
        self.note = f"{count:,} small files: `tev info` once for all, `TevInfo` once for each."
        paths = [self.arena.path(f"many/model{i}.tev") for i in range(count)]
        listing = self.arena.directory / "many.list"
        listing.write_bytes("\0".join(paths).encode())
        all_at_once = self.runner("`tev info`", [self.arena.program("tev"), "info", *paths])
        one_by_one = self.runner("`TevInfo` for each", [
            "xargs", "-0", "-n", "1", "-a", str(listing), self.arena.program("TevInfo")])
        require(self.arena.output(all_at_once).count(b" bytes), version 1.3\n") == count,
                "tev info does not tell of each file")
        require(self.arena.output(one_by_one).count(b"</lbt:metadata>") == count,
                "TevInfo does not report on each file")


CASES = (Dump, Statistics, Diff, Python, Export, ManyNodes, MuchData, Start, Sweep)
