#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>
#include <cstdint>
#include <vector>

class CPortFloat;
class CPortInt;
class CPortTexture;

// The sound as a picture: one row of 256 texels for each analysed block, at
// most 30 rows a second, mono in red and the left and right channel in green
// and blue; the oldest row at the top. Rows are kept in a ring in memory and
// uploaded when a new one arrived.
class CSoundTextureNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    static constexpr int RowTexels = 256;
    static constexpr float RowSeconds = 0.033333335f;

private:
    friend CNodeDeclaration DeclareNode<CSoundTextureNode>();

    void WriteRow();

    CPortInt* m_soundType = nullptr;
    CPortInt* m_history = nullptr;
    CPortFloat* m_amplification = nullptr;
    CPortTexture* m_texture = nullptr;

    std::vector<uint8_t> m_ring;
    int m_rows = 0;
    int m_writeRow = 0;
    int m_textureRows = 0;
    int m_lastBlock = -1;
    double m_sinceRow = 0.0;
    std::array<bool, NumDevices> m_behind{};
};
