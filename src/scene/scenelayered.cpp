#include "scene/scenelayered.h"

#include "render/render.h"
#include "scene/layerhooks.h"
#include "scene/node.h"
#include "scene/scene.h"

template <class TCall>
void CSceneLayered::ForEachLayer(TCall&& call) const
{
    for (CScene* layer : {m_background, m_foreground, m_postprocessing}) {
        if (layer)
            call(*layer);
    }
}

bool CSceneLayered::Prepare()
{
    m_previousLayer = nullptr;
    if (!m_postprocessing)
        return true;
    // With several, the last in list order serves.
    for (const auto& node : m_postprocessing->m_nodes) {
        if (std::string_view(node->GetTypeName()) == "PreviousLayer") {
            if (auto* capture = dynamic_cast<CLayerCapture*>(node.get()))
                m_previousLayer = capture;
        }
    }
    return true;
}

void CSceneLayered::Update(float deltaTime, CRender* render)
{
    ForEachLayer([&](CScene& layer) { layer.Update(deltaTime, render); });
}

void CSceneLayered::FrameFinished()
{
    ForEachLayer([](CScene& layer) { layer.FrameFinished(); });
}

bool CSceneLayered::RestoreDevice(CRender* render)
{
    ForEachLayer([&](CScene& layer) { layer.RestoreDevice(render); });
    return true;
}

void CSceneLayered::InvalidateDevice(CRender* render)
{
    ForEachLayer([&](CScene& layer) { layer.InvalidateDevice(render); });
}

void CSceneLayered::ForceRestore()
{
    ForEachLayer([](CScene& layer) { layer.ForceRestore(); });
}

void CSceneLayered::Draw(CRender* render)
{
    const bool capturing = m_previousLayer && m_postprocessing && m_previousLayer->StartCapture(render);
    if (m_background)
        m_background->Draw(render);
    if (m_foreground) {
        // The foreground paints over the background without being hidden by it.
        const float unused[4] = {0, 0, 0, 0};
        render->Clear(unused, 1.0f, CF_Depth);
        m_foreground->Draw(render);
    }
    if (!capturing)
        return;
    m_previousLayer->EndCapture(render);
    m_postprocessing->Draw(render);
    m_previousLayer->ReleaseCapture();
}

std::string CSceneLayered::GetFileName() const
{
    const auto name = [](const CScene* scene) { return scene ? scene->GetFileName() : std::string(); };
    return name(m_background) + ";" + name(m_foreground) + ";" + name(m_postprocessing);
}

std::string CSceneLayered::GetId() const
{
    std::string id;
    for (const CScene* layer : {m_background, m_foreground, m_postprocessing})
        id += (layer ? layer->GetId() : std::string()) + "-";
    return id;
}

std::string CSceneLayered::GetName() const
{
    const auto name = [](const CScene* scene) { return scene ? scene->GetName() : std::string(); };
    return name(m_background) + "-" + name(m_foreground) + "-" + name(m_postprocessing);
}

void CSceneLayered::Restart()
{
    ForEachLayer([](CScene& layer) { layer.Restart(); });
}
