#include "renderogl/fxmanagerogl.h"

#include "app/log.h"
#include "renderogl/fxogl.h"
#include "renderogl/glslangprocess.h"
#include "renderogl/shaderpreprocessor.h"

#include <GL/glew.h>

#include <cstdio>

CFxManagerOGL::~CFxManagerOGL()
{
    CFxManagerOGL::Free();
}

bool CFxManagerOGL::Init()
{
    if (!CFxManager::Init())
        return false;
    // Effects are compiled to GLSL 3.30: a context below it links none.
    const char* version = reinterpret_cast<const char*>(glGetString(GL_SHADING_LANGUAGE_VERSION));
    int major = 0, minor = 0;
    if (!version || sscanf(version, "%d.%d", &major, &minor) != 2 || major * 100 + minor < 330)
        return Error("Effects need GLSL 3.30, and this context offers GLSL %s", version ? version : "(none)");
    if (!CGlslangProcess::Ensure())
        return Error("The shader compiler could not set itself up");
    return true;
}

void CFxManagerOGL::Free()
{
    CFxManager::Free();
    // Programs that no effect holds any more go with the context.
    m_programs.Clear();
}

CFx* CFxManagerOGL::ParseEffect(const std::string& text)
{
    return ParseWith(text, std::make_unique<CFxOGL>(this, m_programs));
}

CFx* CFxManagerOGL::LoadEffect(const std::string& name, bool cached)
{
    return LoadWith(name, cached, std::make_unique<CFxOGL>(this, m_programs));
}

bool CFxManagerOGL::Preprocess(const std::string& text, const std::string& sourceName, std::string& out,
                               std::string& errors)
{
    return CShaderPreprocessor::Preprocess(text, sourceName, m_includeDirectory, out, errors);
}
