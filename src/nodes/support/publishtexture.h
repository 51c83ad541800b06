#pragma once

class CPDTexture;
class CPortTexture;

// Hands `record` (or null) to a Texture output with the dimension and flags
// that readers write their sampler text for. The port's changed flag goes up
// only when that information differs from what the port carried: readers
// recompile on the flag, and a record that merely takes turns with its twin
// must not make them do so every frame.
void PublishTexture(CPortTexture& port, CPDTexture* record, int dimension, int flags);
