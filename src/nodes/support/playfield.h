#pragma once

#include "render/matrix.h"

class CRandom;

// Width and height of a flat play field or drawing area. With `adjust` the
// field follows the window: wider by the aspect on a wide window, taller on a
// tall one, so that a unit keeps its shape on screen.
struct SFieldSize
{
    float width = 1.0f;
    float height = 1.0f;
};
SFieldSize AdjustForAspect(float width, float height, bool adjust, float aspect);

// A direction spread evenly over the unit sphere: z, then the angle about z.
SVec3 RandomUnitVector(CRandom& random);
