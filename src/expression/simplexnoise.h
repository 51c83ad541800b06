#pragma once

// Simplex noise in single precision, roughly -1 to 1, zero at the corners of
// its lattice. The lattice repeats every 256 cells. Shared by the expression
// functions noise1 to noise3 and by the nodes that make noise textures.
float SimplexNoise1(float x);
float SimplexNoise2(float x, float y);
float SimplexNoise3(float x, float y, float z);
