#pragma once

#include "expression/expressioncontext.h"
#include "render/rendervolumelines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include "app/random.h"

#include <array>
#include <string>
#include <vector>

class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortString;

// Midpoint-displaced bolts with branches, rebuilt every frame. A script
// places each bolt; its seed decides the shape, so a bolt holds still while
// the seed does. Nodes and paths live in arrays sized for the worst case
// before generation, so linking never moves them and a steady frame allocates
// nothing.
class CLightningNode : public CNode, public CPDObject
{
public:
    struct SBoltNode
    {
        SBoltNode* next = nullptr;
        SBoltNode* previous = nullptr;
        float x = 0, y = 0, z = 0;
        float width = 0;
    };
    struct SBoltPath
    {
        float strength = 1.0f;
        SBoltNode* head = nullptr;
        SBoltNode* tail = nullptr;
        int nodeCount = 0;
        std::array<float, 4> color{1, 1, 1, 1};
    };

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetPathCount() const { return m_pathCount; }
    const SBoltPath& GetPath(int i) const { return m_paths[size_t(i)]; }
    int GetNodeCapacity() const { return int(m_nodes.size()); }
    int GetPathCapacity() const { return int(m_paths.size()); }
    int GetNodeCount() const { return m_nodeCount; }
    const CRenderVolumeLines& GetLines() const { return m_lines; }

private:
    friend CNodeDeclaration DeclareNode<CLightningNode>();

    void SizePools(int bolts, int detail);
    bool m_detailCapReported = false;
    SBoltNode* NewNode(float x, float y, float z, float width);
    SBoltPath* NewPath(const SBoltNode& start, const SBoltNode& end, float width, float strength,
                       const std::array<float, 4>& color);
    void Subdivide(int firstPath, int detail);
    void FillLines(CSceneContext* context);

    CPortInt* m_numBolts = nullptr;
    CPortInt* m_detail = nullptr;
    CPortFloat* m_width = nullptr;
    CPortFloat* m_widthReduction = nullptr;
    CPortFloat* m_jitter = nullptr;
    CPortFloat* m_branchChance = nullptr;
    CPortFloat* m_branchLengthScale = nullptr;
    CPortFloat* m_in1 = nullptr;
    CPortFloat* m_in2 = nullptr;
    CPortFloat* m_in3 = nullptr;
    CPortFloat* m_in4 = nullptr;
    CPortFloat* m_in5 = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectOut = nullptr;

    CExpressionContext m_expressionContext;
    std::string m_parsedText;
    bool m_parsed = false;

    // The script's variables, bound by address.
    double m_boltNr = 0, m_time = 0, m_aspect = 1;
    double m_in[5] = {};
    double m_start[3] = {}, m_end[3] = {};
    double m_color[4] = {};
    double m_boltRandSeed = 0;

    std::vector<SBoltNode> m_nodes;
    std::vector<SBoltPath> m_paths;
    int m_nodeCount = 0;
    int m_pathCount = 0;

    CRandom m_random;
    CRenderVolumeLines m_lines;
};
