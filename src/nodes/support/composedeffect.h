#pragma once

#include "render/fx.h"

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

class CNoiseTextures;
class CPortTexture;
class CRender;

// A declaration added to the header when the fragment names it.
struct SEffectDeclaration
{
    const char* name;
    const char* line;
};

// What a kind of node writes around an author's fragment: its samplers and
// vertex input, the declarations it may add, the names of its texture
// samplers (one per texture port), the parameters it sets, and for the text
// nodes the font's sampler and an unconditional technique.
struct SEffectDialect
{
    const char* fastNoiseSampler;
    const char* permutationSamplers;
    const char* vertexInput;
    std::span<const SEffectDeclaration> declarations;
    std::span<const char* const> textureNames;
    std::span<const char* const> paramNames;
    // Sampler lines that stand behind the texture samplers in every text.
    const char* fixedSamplers = "";
    // Text nodes add their technique even to a fragment that has its own.
    bool alwaysAddTechnique = false;
};

// The effect a node compiles from an author's fragment: the header declares
// only what the fragment uses and samplers for the connected textures, a
// default technique follows a fragment without one, and the parameters are
// fetched by the dialect's names after each compile.
class CComposedEffect
{
public:
    explicit CComposedEffect(const SEffectDialect& dialect) : m_dialect(dialect) {}

    // Composes and compiles `fragment`. An empty fragment leaves no effect
    // and is no failure; a failed compile is logged by the effect layer.
    bool Build(CRender* render, const std::string& fragment, std::span<CPortTexture* const> textures);
    void Reset();
    // True when a connected texture changed or its record's dimension is no
    // longer the one the text was written for: the text must be composed anew.
    bool TexturesChanged(std::span<CPortTexture* const> textures) const;

    CFx* Fx() const { return m_fx.get(); }
    CFxTechnique* Technique() const { return m_technique.get(); }
    // Empty for names the composed text lacks.
    CFxParam& Param(size_t index) { return m_params[index]; }
    // Hands the shared noise textures to the samplers the header declared.
    void BindNoiseTextures(CNoiseTextures* noise);
    // The whole text handed to the compiler at the last Build.
    const std::string& ComposedText() const { return m_composedText; }

private:
    std::string Compose(const std::string& fragment, std::span<CPortTexture* const> textures);

    const SEffectDialect& m_dialect;
    std::unique_ptr<CFx> m_fx;
    std::unique_ptr<CFxTechnique> m_technique;
    std::string m_composedText;
    // The fast noise and the two permutation samplers.
    std::array<CFxParam, 3> m_noiseParams{};
    std::vector<CFxParam> m_params = std::vector<CFxParam>(m_dialect.paramNames.size());
    // Dimension of each texture port's record when the text was composed.
    std::vector<int> m_samplerDimensions = std::vector<int>(m_dialect.textureNames.size());
};
