#pragma once

#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "tev/JsonWriter.h"
#include "tev/TreeDrawing.h"

/// Writes the member "nodes" of a tree: the list of its nodes, each before its children. The
/// list is flat and the depth a number, since readers of JSON bear only so much nesting.
/// "storage" may be null.
void WriteTree(const LbtTev::Report::TreeOutline& outline, const TreeOptions& options,
               const Storage* storage, JsonWriter& json);
