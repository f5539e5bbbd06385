#pragma once

#include <string>

#include "Lbt/Tev/TevInfo/TreeOutline.h"
#include "tev/TreeDrawing.h"

/// A tree as one JSON object with the list of its nodes, each before its children. The
/// list is flat and the depth a number, since readers of JSON bear only so much nesting.
[[nodiscard]] std::string TreeJsonText(const std::string& path,
                                       const LbtTev::Report::TreeOutline& outline,
                                       const TreeOptions& options);
