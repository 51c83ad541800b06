#pragma once

#include "render/fx.h"
#include "scene/nodedeclaration.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CRender;
class CRenderTarget;
class CTexture;

// One of the built-in effects of the post-processing nodes, loaded from the
// data directory, with its technique. The effect belongs to the manager.
class CBuiltInEffect
{
public:
    // False, with a log line, when the file or its technique can't be had.
    bool Load(CRender* render, const char* path);
    void Reset();
    bool IsLoaded() const { return m_fx && m_technique; }

    CFx* Fx() const { return m_fx; }
    CFxParam Param(const char* name) const { return m_fx ? m_fx->GetParam(name) : CFxParam(); }
    CFxPass Pass(const char* name) const { return m_technique ? m_technique->GetPass(name) : CFxPass(); }

private:
    CFx* m_fx = nullptr;
    std::unique_ptr<CFxTechnique> m_technique;
};

// The render states of every post-processing pass: nothing culled, the
// source written as it is, no depth, the quad untransformed.
void SetPostStates(CRender* render);

// Runs `pass` of `effect` over the whole of `target`.
void RunPassInto(CRender* render, CFx& effect, CFxPass& pass, CRenderTarget& target);

// Runs `pass` of `effect` over the whole of a pooled target of that size and
// format, and answers the target's picture; empty when no target could be
// had.
std::shared_ptr<CTexture> RunPass(CRender* render, CFx& effect, CFxPass& pass, int width, int height, int format,
                                  std::string_view name);

// The Format choices of Bloom and Streak: 0 keeps the source's, the others
// are texture formats.
std::vector<SChoice> PostFormats();
