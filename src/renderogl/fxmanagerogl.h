#pragma once

#include "render/fxmanager.h"
#include "renderogl/glprogramcache.h"

// The effect manager of the OpenGL render: effects are CFxOGL, and the
// preprocessor is the shading language's own.
class CFxManagerOGL : public CFxManager
{
public:
    explicit CFxManagerOGL(CRenderData* owner) : CFxManager(owner) {}
    ~CFxManagerOGL() override;

    // False when this context cannot run the programs effects compile to.
    bool Init() override;
    void Free() override;
    CFx* ParseEffect(const std::string& text) override;
    CFx* LoadEffect(const std::string& name, bool cached) override;
    bool Preprocess(const std::string& text, const std::string& sourceName, std::string& out,
                    std::string& errors) override;

    CGLProgramCache& GetPrograms() { return m_programs; }

private:
    CGLProgramCache m_programs;
};
