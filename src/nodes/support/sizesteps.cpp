#include "nodes/support/sizesteps.h"

#include "ports/types/portint.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<double, 5> kFactors = {0.5, 0.25, 0.125, 0.0625, 0.03125};

int ApplyStep(int step, int custom, int size)
{
    if (step == -1)
        return custom;
    if (step < 1 || step > int(kFactors.size()))
        return size;
    return TruncateToInt(double(size) * kFactors[size_t(step - 1)]);
}

} // namespace

STextureSize SizeFromSteps(int widthStep, int heightStep, int widthCustom, int heightCustom, int width, int height)
{
    return {std::max(1, ApplyStep(widthStep, widthCustom, width)), std::max(2, ApplyStep(heightStep, heightCustom, height))};
}
