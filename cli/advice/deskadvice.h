#pragma once

#include <string>

namespace cli {

/// What is wrong with the simulated desk `desk` when there is no camera on it, and what helps; empty
/// when nothing is, and for no desk or the built-in one.
std::string adviceOnDesk(const std::string &desk);

/// Whether the pictures lie in the desk's folder itself, where no camera sees them, and nothing in
/// there is a camera.
bool holdsPicturesOnly(const std::string &desk);

} // namespace cli
