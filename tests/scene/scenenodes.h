#pragma once

#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "scene/nodefactory.h"
#include "testnodes.h"

#include <memory>
#include <vector>

// Node types for scene tests under names of the catalogue, each with ports
// of its own. Registers them in the factory while it lives; one at a time.
class CSceneTestTypes
{
public:
    CSceneTestTypes() : m_factory(CNodeFactory::Get())
    {
        const auto plain = [] { return new CNode; };
        auto screen = Info("Screen", [] { return static_cast<CNode*>(new CPullNode); });
        screen->AddInPort(std::make_unique<CPortRender>("Render", "chain"));
        screen->AddInPort(std::make_unique<CPortColor>("Color", "clear colour", CPortColor::Rgba{0, 0, 0, 1},
                                                       CPortColor::Rgba{0, 0, 0, 0}, CPortColor::Rgba{1, 1, 1, 1}));
        screen->AddInPort(std::make_unique<CPortFloat>("CamFov", "field of view", 45.0f, 1.0f, 1.0f, 179.0f));

        m_infos.push_back(MakeSumInfo("Sin"));
        m_infos.push_back(MakeSumInfo<CUncachedSumNode>("Expression"));

        auto rect = Info("RenderRect", plain);
        rect->AddInPort(std::make_unique<CPortRender>("Render", "previous step"));
        rect->AddInPort(std::make_unique<CPortEffect>("Effect", "effect"));
        rect->AddInPort(std::make_unique<CPortTexture>("Texture", "picture"));
        rect->AddInPort(std::make_unique<CPortRect>("Rect", "area", CPortRect::Ltrb{0, 0, 1, 1},
                                                    CPortRect::Ltrb{0, 0, 0.1f, 0.1f}, CPortRect::Ltrb{-1, -1, -1, -1},
                                                    CPortRect::Ltrb{2, 2, 4, 4}));
        rect->AddInPort(std::make_unique<CPortBool>("Enabled", "drawn", true));
        auto* mode = rect->AddInPort(std::make_unique<CPortInt>("Mode", "blend", 0, 0, 2));
        mode->AddValue(0, "Opaque");
        mode->AddValue(1, "Add");
        rect->AddInPort(std::make_unique<CPortVector>("Offset", "shift", CPortVector::Xyz{0, 0, 0},
                                                      CPortVector::Xyz{1, 1, 1}, CPortVector::Xyz{-9, -9, -9},
                                                      CPortVector::Xyz{9, 9, 9}));
        rect->AddInPort(std::make_unique<CPortString>("Label", "caption", "none"));
        rect->AddOutPort(std::make_unique<CPortRender>("Render", "this step"));

        auto target = Info("RenderToTexture", plain);
        target->AddInPort(std::make_unique<CPortRender>("Render", "chain"));
        target->AddInPort(std::make_unique<CPortEffect>("Effect", "effect"));
        target->AddOutPort(std::make_unique<CPortTexture>("Color", "this frame"));
        target->AddOutPort(std::make_unique<CPortTexture>("ColorNext", "last frame"));

        auto shader = Info("Shader", plain);
        shader->AddInPort(std::make_unique<CPortString>("Shader", "code", ""));
        shader->AddInPort(std::make_unique<CPortTexture>("Texture", "input"));
        shader->AddOutPort(std::make_unique<CPortEffect>("Effect", "effect"));

        auto object = Info("MeshObject", plain);
        object->AddInPort(std::make_unique<CPortMesh>("Mesh", "shape"));
        object->AddOutPort(std::make_unique<CPortObject>("Object", "drawable"));
        auto cube = Info("Cube", plain);
        cube->AddOutPort(std::make_unique<CPortMesh>("Mesh", "shape"));
        auto renderObject = Info("RenderObject", plain);
        renderObject->AddInPort(std::make_unique<CPortObject>("Object", "drawn"));

        for (const auto& info : m_infos)
            m_factory->Add(info.get());
    }
    ~CSceneTestTypes() { m_factory->Release(); }
    CSceneTestTypes(const CSceneTestTypes&) = delete;
    CSceneTestTypes& operator=(const CSceneTestTypes&) = delete;

private:
    CNodeInfo* Info(const char* name, CNodeInfo::CreateFunction create)
    {
        m_infos.push_back(std::make_unique<CNodeInfo>(NG_Values, name, create));
        return m_infos.back().get();
    }

    CNodeFactory* m_factory;
    std::vector<std::unique_ptr<CNodeInfo>> m_infos;
};
