#include "renderogl/fxmanagerogl.h"

#include "renderogl/fxogl.h"
#include "renderogl/shaderpreprocessor.h"

CFxManagerOGL::~CFxManagerOGL()
{
    CFxManagerOGL::Free();
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
