#pragma once

#include "render/matrix.h"
#include "render/render.h"
#include "scene/pdeffect.h"

// Draws something that covers the viewport, once per pass of `effect`, in
// white with the identity as world: the full-screen steps of the chain.
template <class TDraw>
void DrawEachPass(CPDEffect* effect, CRender* render, TDraw&& draw)
{
    static const float white[4] = {1, 1, 1, 1};
    const CMatrix identity = MatrixIdentity();
    effect->m_render = render;
    for (CFxPass* pass = effect->Begin(); pass; pass = effect->NextPass(pass)) {
        effect->BeginPass(pass);
        effect->SetColor(white);
        effect->SetWorld(0, identity.data());
        render->SetTransform(TS_World, identity.data());
        effect->CommitChanges(render);
        draw();
        effect->EndPass(pass);
    }
    effect->End();
}
