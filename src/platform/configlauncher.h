#pragma once

#include <string>

// Starts the configuration program "lumora-config" from `directory`, or from
// the directory of the running program when it is empty, detached from this
// process so that it outlives it. False, with a log line, when the program
// isn't there or doesn't start.
bool LaunchConfigProgram(const std::string& directory = {});
