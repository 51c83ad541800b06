#pragma once

#include "render/fxeffectdesc.h"

#include <array>
#include <string>

// One render state assignment of an effect pass, turned into an OpenGL
// operation when the effect is created, so a pass applies it without
// looking at text. Both the OpenGL names of states (BlendFunc, DepthMask,
// ...) and the Direct3D ones (SrcBlend, ZWriteEnable, ...) are understood.
class CFxStateOGL
{
public:
    // False with a message for a state or value that is not known.
    bool Compile(const SFxStateAssignment& assignment, std::string& error);
    void Apply() const;
    // Back to OpenGL's default for the state, whatever was set before.
    void Reset() const;

    enum class EOp
    {
        Enable,        // m_enums[0] the capability, m_floats[0] on or off
        BlendFunc,     // src, dst
        BlendFuncSeparate,
        BlendSrc,      // the source half alone, as SrcBlend assigns it
        BlendDst,
        BlendEquation,
        BlendColor,
        DepthMask,
        DepthFunc,
        CullFace,
        CullMode,      // none, or a face to cull with culling on
        FrontFace,
        AlphaFunc,     // function and reference
        AlphaFuncOnly, // the function; the reference stays
        AlphaRef,
        ColorMask,
        PolygonMode,
        PolygonOffset,
        PointSize,
        LineWidth,
    };

    EOp m_op = EOp::Enable;
    std::array<unsigned, 4> m_enums{};
    std::array<float, 4> m_floats{};
};
