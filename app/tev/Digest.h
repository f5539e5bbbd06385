#pragma once

#include <string>

#include "Lbt/Tev/Analysis/Model.h"

/// The digest of what a model says: 64 hexadecimal digits of a SHA-256 (FIPS 180-4) of its parts,
/// steps, meshes and fields. How they are stored makes no difference. docs/catalogue.md has the
/// order of the bytes.
///
/// Throws what makes the first array that cannot be read unreadable, and a lack of memory.
[[nodiscard]] std::string DigestOf(const LbtTev::Analysis::Model& model);
