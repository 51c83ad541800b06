#pragma once

#include "ports/port.h"

#include <memory>

class CPDRender;
class CPDObject;
class CPDEffect;
class CPDTexture;
class CPDMesh;
class CTexture;

// A port that hands a node's published data on within a frame. It is never
// stored, and holds null without a connection.
template <class TData, int Type>
class TPortData : public CPort
{
public:
    TPortData(std::string_view name, std::string_view desc) : CPort(Type, name, desc) {}
    TPortData(const TPortData&) = default;

    void Update(float time) override
    {
        const CPort* source = PullConnected(time);
        m_value = source && source->m_type == Type ? static_cast<const TPortData*>(source)->m_value : nullptr;
    }

    TData* m_value = nullptr;
};

class CPortRender : public TPortData<CPDRender, PT_Render>
{
public:
    using TPortData::TPortData;
};

class CPortObject : public TPortData<CPDObject, PT_Object>
{
public:
    using TPortData::TPortData;
};

class CPortEffect : public TPortData<CPDEffect, PT_Effect>
{
public:
    using TPortData::TPortData;
};

class CPortMesh : public TPortData<CPDMesh, PT_Mesh>
{
public:
    using TPortData::TPortData;
};

class CPortTexture : public TPortData<CPDTexture, PT_Texture>
{
public:
    using TPortData::TPortData;
    // A copy starts without a texture of its own.
    CPortTexture(const CPortTexture& other) : TPortData(other) {}

    // Consumers may keep the texture of the current frame here.
    std::shared_ptr<CTexture> m_texture;
};
