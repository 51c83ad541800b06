#pragma once

#include <cstddef>
#include <cstdint>

// Runs any bytes as an editor's request against a director that plays a
// small scene made afresh, and checks that the answer is one well-formed
// XML text. Requests that would save files are passed over.
bool CommandInputAnswersWellFormed(const uint8_t* data, size_t size);
