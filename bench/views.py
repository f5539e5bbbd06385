"""The case on views: what pages and pictures of models cost, and how large pages are."""

import os
import pathlib

from cases import Case, require
from document import ROOT, table, text_of_seconds

MEGABYTE = 1_000_000
EXAMPLES = ("bracket", "heatsink")
PNG = b"\x89PNG\r\n\x1a\n"


def text_of_megabytes(bytes_):
    return f"{bytes_ / MEGABYTE:.2f} MB"


class Views(Case):
    """Pages and pictures of the examples and of a large model."""

    key = "views"
    title = "Views"
    models = ("tetrahedra",)
    note = ("Pages and pictures, of 1200x900, of both examples and of a model of 300,763 nodes and "
            "1,724,976 tetrahedra with one vector. It deflates as the examples do; the last row is "
            "no program but the time that zlib alone takes in one thread for all its data and to "
            "put their bytes in order.")

    def prepare(self):
        models = {name: str(ROOT / "examples" / f"{name}.tev") for name in EXAMPLES}
        large = self.model("tetrahedra")
        self.page = self._view("tetrahedra", large, "html")
        self.pictures = {name: self._view(name, model, "png")
                         for name, model in {"tetrahedra": large, **models}.items()}
        for name, model in models.items():
            self._view(name, model, "html")
        self.inflation = self.runner("zlib alone", [self.arena.program("bench_inflate"), "--heavy",
                                                    "0,1,2,3,4,5", large], measures_itself=True)
        sizes, _ = self.streams(large)
        _, inflated, _ = self.arena.output(self.inflation).split()
        require(int(inflated) == sizes["Heavy Data"], "not all data are inflated")
        self._check()

    def _view(self, name, model, end):
        kind = {"html": "page", "png": "picture"}[end]
        return self.runner(f"{kind} of `{name}`", [self.arena.program("tev"), "view", model, "-o",
                                                   self._output(name, end)])

    def _output(self, name, end):
        return self.arena.path(f"view-{name}.{end}")

    def _check(self):
        """Runs each once, and looks at what it has written."""
        for runner in self.runners[:-1]:
            self.arena.output(runner)
        self.sizes = {}
        for name in ("tetrahedra", *EXAMPLES):
            page = pathlib.Path(self._output(name, "html")).read_bytes()
            require(page.startswith(b"<!DOCTYPE html>") and b'id="block-model"' in page,
                    f"the page of {name} is none")
            require(pathlib.Path(self._output(name, "png")).read_bytes().startswith(PNG),
                    f"the picture of {name} is none")
            self.sizes[name] = len(page)

    def judge(self, goals):
        goals.at_most("page of 1.7 million tetrahedra against zlib alone",
                      self.page.median / self.inflation.median, 3, "{:.2f}".format)
        for name, size in self.sizes.items():
            goals.at_most(f"page of \"{name}\"", size,
                          (1.2 if name in EXAMPLES else 4) * MEGABYTE, text_of_megabytes)
        for name in EXAMPLES:
            goals.at_most(f"picture of \"{name}\", of the processor's time",
                          self.pictures[name].processor_median, 0.25, text_of_seconds)

    def section(self):
        rows = [[f"`{name}`", *(text_of_megabytes(os.path.getsize(path)) for path in paths)]
                for name, paths in self._files().items()]
        return super().section() + "\n\n" + table(["Model", "Stored", "Page", "Picture"], rows)

    def _files(self):
        return {name: [self.model(name) if name not in EXAMPLES
                       else ROOT / "examples" / f"{name}.tev",
                       self._output(name, "html"), self._output(name, "png")]
                for name in self.sizes}
