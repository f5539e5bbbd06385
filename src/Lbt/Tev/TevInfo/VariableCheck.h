#pragma once

#include <functional>

#include "Lbt/Tev/TevInfo/ModelCheck.h"
#include "Lbt/Tev/Tree.h"
#include "StreamMap.h"

/// Checks the variables of all geometries of a tree, and loads the data of each. "map" is that
/// of the heavy data. "mayBeUnread" says whether the file may have a node of that id which was not
/// loaded: of a link to such a one, nothing can be said.
void CheckVariables(const LbtTev::Tree& tree, const StreamMap& map,
                    const std::function<bool(unsigned int id)>& mayBeUnread,
                    const FindingSink& sink);
