#include "scene/runinfo.h"

const SRunInfo& SRunInfo::Standalone()
{
    static const SRunInfo standalone;
    return standalone;
}
