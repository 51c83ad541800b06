#include "nodes/support/playfield.h"

#include "app/random.h"

#include <algorithm>
#include <cmath>

SFieldSize AdjustForAspect(float width, float height, bool adjust, float aspect)
{
    if (adjust) {
        if (aspect > 1.0f)
            width *= aspect;
        else if (aspect > 0.0f)
            height /= aspect;
    }
    return {width, height};
}

SVec3 RandomUnitVector(CRandom& random)
{
    const float z = random.NextSigned();
    const float a = random.NextUnit() * 6.2831855f;
    const float r = std::sqrt(std::max(0.0f, 1.0f - z * z));
    return {r * std::cos(a), r * std::sin(a), z};
}
