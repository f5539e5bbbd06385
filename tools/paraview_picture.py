"""Reads exports of both examples in ParaView, checks what it finds, and renders the bracket.

Run by ./dev try-paraview, in the folder of the exports.
"""

import os
import sys

from paraview.simple import (ColorBy, CreateRenderView, GetColorTransferFunction, GetScalarBar,
                             SaveScreenshot, Show, UpdatePipeline, WarpByVector, Xdmf3ReaderS)


def require(good, *what):
    if not good:
        sys.exit("wrong: " + " ".join(str(part) for part in what))


def times(reader):
    """ParaView has one step as a number alone."""
    values = reader.TimestepValues
    return [values] if isinstance(values, float) else list(values)


def check(reader, steps, cells, point_arrays, cell_arrays):
    reader.UpdatePipelineInformation()
    require(len(times(reader)) == steps, times(reader), "are the steps")
    UpdatePipeline(time=times(reader)[-1], proxy=reader)
    information = reader.GetDataInformation()
    require(information.GetNumberOfCells() == cells, information.GetNumberOfCells(), "cells")
    names = [reader.PointData.GetArray(i).Name for i in range(reader.PointData.NumberOfArrays)]
    require(set(point_arrays) <= set(names), names)
    names = [reader.CellData.GetArray(i).Name for i in range(reader.CellData.NumberOfArrays)]
    require(set(cell_arrays) <= set(names), names)
    print(times(reader)[-1], information.GetNumberOfPoints(), "points", cells, "cells", names)


heatsink = Xdmf3ReaderS(FileName=[os.path.abspath("heatsink.xdmf")])
check(heatsink, 20, 6779 + 4305 + 642 + 692 + 2042, ["Temperature"], ["Element Ids"])
low, high = heatsink.PointData["Temperature"].GetRange()
require(301 < low < 301.2 and 306.8 < high < 307, low, high)

bracket = Xdmf3ReaderS(FileName=[os.path.abspath("bracket.xdmf")])
check(bracket, 1, 5195 + 1953, ["Displacement", "von Mises Stress"], ["Element Volume"])
low, high = bracket.PointData["von Mises Stress"].GetRange()
require(abs(high - 78.7648) < 1e-3, low, high)

view = CreateRenderView(ViewSize=[800, 560])
warped = WarpByVector(Input=bracket, Vectors=["POINTS", "Displacement"], ScaleFactor=40)
display = Show(warped, view)
display.SetRepresentationType("Surface With Edges")
display.EdgeColor = [0.3, 0.3, 0.3]
ColorBy(display, ("POINTS", "von Mises Stress"))
colours = GetColorTransferFunction("von Mises Stress")
colours.RescaleTransferFunction(0, 60)
bar = GetScalarBar(colours, view)
bar.Title, bar.ComponentTitle = "von Mises Stress / MPa", ""
bar.RangeLabelFormat = "%g"
bar.TitleColor = bar.LabelColor = [0, 0, 0]
display.SetScalarBarVisibility(view, True)
view.UseColorPaletteForBackground = 0
view.Background = [1, 1, 1]
view.OrientationAxesVisibility = 0
view.CameraPosition = [220, -170, 130]
view.CameraViewUp = [0, 0, 1]
view.ResetCamera(True)
SaveScreenshot("bracket.png", view)
