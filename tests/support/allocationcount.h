#pragma once

// A test program that links lumora_testsupport_alloc has a global operator
// new that counts its calls, on every thread, while counting is on.
void StartCountingAllocations();
// Stops counting; the calls since the start.
long StopCountingAllocations();
