// libFuzzer entry: any bytes as an editor's request must be answered with
// well-formed XML, without a fault, by the director's command handlers.

#include "commandfuzzinput.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!CommandInputAnswersWellFormed(data, size))
        std::abort();
    return 0;
}
