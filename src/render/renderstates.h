#pragma once

#include <cstdint>

class CRenderData;

// The wanted fixed-function state of the next draw.
class CRenderStates
{
public:
    virtual ~CRenderStates() = default;
    virtual void Free() {}

    int32_t m_flags = 0;    // RS_* bits
    int32_t m_srcBlend = 1; // blend factor numbers, 0 GL_ZERO ... 10 GL_SRC_ALPHA_SATURATE
    int32_t m_dstBlend = 0;
    int32_t m_cullMode = 2; // 0 none, 1 front faces, 2 back faces
};

// Blend factor numbers as the SrcBlend and DstBlend ports hold them.
enum
{
    BF_Zero = 0,
    BF_One = 1,
    BF_SrcColor = 2,
    BF_DstColor = 3,
    BF_InvSrcColor = 4,
    BF_InvDstColor = 5,
    BF_SrcAlpha = 6,
    BF_DstAlpha = 7,
    BF_InvSrcAlpha = 8,
    BF_InvDstAlpha = 9,
    BF_SrcAlphaSaturate = 10,
    BF_Count = 11,
};

// Nodes write the wanted values directly; nothing reaches the device until
// Activate. Activate writes the whole state on every draw, since effect
// passes change device state behind the manager's back.
class CRenderStateManager
{
public:
    explicit CRenderStateManager(CRenderData* data) : m_data(data) {}
    virtual ~CRenderStateManager() = default;
    CRenderStateManager(const CRenderStateManager&) = delete;
    CRenderStateManager& operator=(const CRenderStateManager&) = delete;

    virtual void Release() {}
    // Depth test and write on, no blending, back faces culled.
    virtual void Reset();
    virtual void Activate() {}

    CRenderStates m_states;

    // Blending is off only for source one with destination zero.
    static bool BlendEnabled(const CRenderStates& states) { return !(states.m_srcBlend == 1 && states.m_dstBlend == 0); }
    // True when the device's front face must be clockwise. Drawing into a
    // framebuffer is flipped in y, which swaps the winding.
    static bool FrontFaceClockwise(int cullMode, bool framebufferBound) { return (cullMode == 1) != framebufferBound; }

protected:
    CRenderData* m_data;
};
