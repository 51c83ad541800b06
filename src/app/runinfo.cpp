#include "app/runinfo.h"

SRunInfo g_runInfo;
