#pragma once

// glslang keeps process-wide tables that must be built before the first
// shader and torn down once at the end. The first Ensure() builds them; they
// go when the process exits.
class CGlslangProcess
{
public:
    static void Ensure();

private:
    CGlslangProcess();
    ~CGlslangProcess();
};
