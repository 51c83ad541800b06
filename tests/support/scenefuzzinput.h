#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// One input of the scene fuzzer: its first byte picks the way in (".lms"
// file, ".lmc" container, XML straight to the reader) and whether the graph
// is read; the rest is the file. True when whatever loaded writes a form
// that reads back to itself. `workDir` takes the temporary file.
bool SceneInputLoadsAndRoundTrips(const uint8_t* data, size_t size, const std::string& workDir);
