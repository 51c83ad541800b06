#include "renderogl/glslangprocess.h"

#include <glslang/Public/ShaderLang.h>

CGlslangProcess::CGlslangProcess() : m_ready(glslang::InitializeProcess())
{
}

CGlslangProcess::~CGlslangProcess()
{
    glslang::FinalizeProcess();
}

bool CGlslangProcess::Ensure()
{
    // A function-local static is built on first use and destroyed at exit
    // after every shader object of ours, which all live inside function calls.
    static CGlslangProcess s_process;
    return s_process.m_ready;
}
