#pragma once

// Counts the allocations of this test program through its global operator
// new, between Start and Stop.
void StartCountingAllocations();
long StopCountingAllocations();
