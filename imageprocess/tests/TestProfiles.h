#pragma once
// ICC profiles made for tests, written to files (kept apart: the engine's header clashes with ours).
#include <string>

// A wide-gamut RGB profile with gamma 1.8 curves: primaries well outside sRGB, so that a transform
// to sRGB has negative matrix terms and clips. False when it cannot be written.
bool WriteWideGamutProfile(const std::string& path);
