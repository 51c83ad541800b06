#pragma once

#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"

#include <cstdlib>
#include <memory>

// A small offscreen context with a render on it, for benchmarks that draw.
struct SBenchGL
{
    SBenchGL()
    {
        setenv("SDL_VIDEODRIVER", "offscreen", 0);
        ok = context.CreateHeadless(64, 64);
        render = std::make_unique<CRenderOGL>();
        ok = ok && render->InitDevice();
        render->m_virtualRect = render->m_currentRect = SRect{0, 0, 64, 64};
        render->SetCamera(*render->GetCamera());
    }

    CGLContext context;
    std::unique_ptr<CRenderOGL> render;
    bool ok = false;
};
