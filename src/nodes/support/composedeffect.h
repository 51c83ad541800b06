#pragma once

#include "render/fx.h"
#include "scene/pdeffect.h"

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

class CNoiseTextures;
class CPortTexture;
class CRender;
class CTexture;

struct SChoice;

// The noise samplers as the CopyTexture and text nodes write them, with the
// GL names of the address modes (the permutation samplers end with the
// include of the noise functions).
extern const char* const kWrapFastNoiseSampler;
extern const char* const kWrapPermutationSamplers;

// The entries of the blend and cull ports of nodes with a composed effect.
const std::vector<SChoice>& BlendModeChoices();
const std::vector<SChoice>& CullModeChoices();

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

// The CPDEffect of a node whose effect is composed: passes, the colour, the
// world and the commit go to the compiled effect, and the textures of the
// node's texture ports are held from Begin to End.
class CPDComposedEffect : public CPDEffect
{
public:
    void BeginPass(CFxPass* pass) override;
    CFxPass* NextPass(CFxPass* pass) override;
    void EndPass(CFxPass* pass) override;
    void End() override;
    void SetColor(const float* rgba) override;
    void SetWorld(int index, const float* matrix) override;
    void CommitChanges(CRender* render) override;

    static constexpr size_t MaxTextures = 3;

protected:
    // `colorParam` and `firstTextureParam` index the dialect's parameters:
    // `color` and the first of the texture samplers, one per texture port.
    CPDComposedEffect(const SEffectDialect& dialect, size_t colorParam, size_t firstTextureParam);

    // Asks each connected source whose sampler the text declares for its
    // texture; before any state is set, as a source may render to make it.
    void HoldTextures(std::span<CPortTexture* const> ports);
    // Binds the held textures to their samplers; `sizeParam` indexes the
    // first size parameter, which gets `setSize` for each held texture.
    template <class TSetSize>
    void BindTextures(size_t sizeParam, TSetSize&& setSize)
    {
        for (size_t i = 0; i < m_textureCount; ++i) {
            if (m_heldTextures[i] && m_compiled.Param(sizeParam + i))
                setSize(m_compiled.Param(sizeParam + i), *m_heldTextures[i]);
            if (m_compiled.Param(m_firstTextureParam + i))
                m_compiled.Fx()->SetTexture(m_compiled.Param(m_firstTextureParam + i), m_heldTextures[i]);
        }
    }
    void DropTextures() { m_heldTextures.fill(nullptr); }

    CComposedEffect m_compiled;

private:
    size_t m_colorParam;
    size_t m_firstTextureParam;
    size_t m_textureCount;
    std::array<std::shared_ptr<CTexture>, MaxTextures> m_heldTextures;
    float m_color[4] = {1, 1, 1, 1};
};
