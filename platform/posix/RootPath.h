// Every file the system reads or writes lies under one root directory,
// the environment variable TARNWICK_ROOT (default "/"), so that the tool can
// work on a copy of a Mac's files or on a test tree.
#pragma once

#include <string>

// The root directory, without a trailing "/" ("" for the real root).
std::string TarnwickRoot();

// The absolute path of a path given as on the Mac ("/Library/...").
std::string TarnwickRootPath(const std::string& macPath);
