#pragma once

// glslang keeps process-wide tables that must be built before the first
// shader and torn down once at the end. The first Ensure() builds them; they
// go when the process exits. False when they could not be built.
class CGlslangProcess
{
public:
    static bool Ensure();

private:
    CGlslangProcess();
    ~CGlslangProcess();

    bool m_ready = false;
};
