#pragma once

// A request to end the run, made by SIGINT or SIGTERM. The frame loop and
// long loads look at it and end the normal way, so the log is closed and
// nothing is left half written. A second signal ends the process at once,
// for when the normal way is stuck.
void InstallStopSignals();
bool StopRequested();
// The signal that asked, 0 when none did.
int StopSignal();
// As if `signal` had come; 0 takes the request back. For tests.
void RequestStop(int signal);
