#pragma once

#include "render/fx.h"
#include "render/rendertypes.h"

#include <memory>

class CRender;
class CSceneBase;

// The last step of a frame: the scene is drawn into a render target of the
// render size, and an anti-aliasing pass puts that picture on the window or
// target now drawn to, each window showing its section of it. The pass
// leaves the render's camera, rectangles and states as it found them.
class CFinalPass
{
public:
    CFinalPass();
    ~CFinalPass();
    CFinalPass(const CFinalPass&) = delete;
    CFinalPass& operator=(const CFinalPass&) = delete;

    // Loads the effect, once: after a failure, which is logged, it is not
    // tried again. False without the effect.
    bool RestoreDevice(CRender* render);
    // The technique goes; the effect itself belongs to the effect manager.
    void InvalidateDevice();
    bool IsLoaded() const { return m_fxaaEffect != nullptr; }
    bool HasFailed() const { return m_fxaaMissingReported; }

    // Draws `scene` at the size of `renderRect` and puts it through the pass.
    // Without a render target nothing is drawn this frame. Needs IsLoaded.
    void Draw(CRender* render, CSceneBase& scene, const SRect& renderRect);

private:
    CFx* m_fxaaEffect = nullptr;
    std::unique_ptr<CFxTechnique> m_fxaaTechnique;
    // For a picture shown texel for pixel, and for one scaled to the window.
    CFxPass m_fxaaPass;
    CFxPass m_scaledPass;
    // The scene's picture, filtered and unfiltered.
    CFxParam m_srcSampler;
    CFxParam m_srcPoint;
    CFxParam m_tex1size;
    CFxParam m_tex1transform;
    bool m_fxaaMissingReported = false;
};
