#pragma once

#include "app/random.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>
#include <vector>

class CPortInt;
class CPortTexture;

// A multi-scale Turing pattern growing like a culture in a dish: each step
// every cell moves towards the average of its neighbours at the scales that
// vary least, and the grid is stretched back to 0..1. At most 30 steps a
// second; the grey picture is uploaded at each read.
class CTuringPatternNode : public CNode, public CPDTexture
{
public:
    CTuringPatternNode();
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    // One step of the pattern on the current Width x Height grid.
    void Step();
    const std::vector<float>& Grid() const { return m_grid; }

    static constexpr float StepSeconds = 0.033333335f;
    static constexpr int Scales = 4;

private:
    friend CNodeDeclaration DeclareNode<CTuringPatternNode>();

    // Sides are powers of two, which the neighbour wrap relies on; a value
    // typed into a scene file is rounded down to one.
    static int Side(int value);

    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortTexture* m_texture = nullptr;

    std::vector<float> m_grid;
    // Per scale and cell: neighbour mean, drift towards the threshold and
    // variation around the mean.
    std::vector<float> m_mean;
    std::vector<float> m_drift;
    std::vector<float> m_variation;
    int m_textureWidth = 0;
    int m_textureHeight = 0;
    CRandom m_random;
    float m_sinceStep = 0.0f;
};
