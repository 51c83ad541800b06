#pragma once

#include "render/matrix.h"
#include "render/render.h"
#include "scene/pdeffect.h"

#include <utility>

// Draws something that covers the viewport, once per pass of `effect`, in
// white with `world` as the world matrix: the full-screen steps of the chain.
template <class TDraw>
void DrawEachPass(CPDEffect* effect, CRender* render, const CMatrix& world, TDraw&& draw)
{
    static const float white[4] = {1, 1, 1, 1};
    effect->m_render = render;
    for (CFxPass* pass = effect->Begin(); pass; pass = effect->NextPass(pass)) {
        effect->BeginPass(pass);
        effect->SetColor(white);
        effect->SetWorld(0, world.data());
        render->SetTransform(TS_World, world.data());
        effect->CommitChanges(render);
        draw();
        effect->EndPass(pass);
    }
    effect->End();
}

// The same with the identity as world.
template <class TDraw>
void DrawEachPass(CPDEffect* effect, CRender* render, TDraw&& draw)
{
    DrawEachPass(effect, render, MatrixIdentity(), std::forward<TDraw>(draw));
}
