#include "nodes/texture/persistenttexturenode.h"

#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

template <>
CNodeDeclaration DeclareNode<CPersistentTextureNode>()
{
    return {
        In(&CPersistentTextureNode::m_in, "Texture", "The texture to keep until the next frame"),
        Out(&CPersistentTextureNode::m_out, "Texture", "The texture we got as input the previous frame"),
    };
}

std::shared_ptr<CTexture> CPTTexture::GetTexture(CRender*)
{
    return m_texture;
}

// A double buffer: this frame's input goes into the record at the index,
// and the other record, stored the frame before, is what the output shows.
// FrameFinished moves the index on and empties the record it arrives at, so
// only the texture stored this frame is kept across the frame's end.
void CPersistentTextureNode::Update(float time, CSceneContext* context)
{
    UpdateInPorts(time);
    CPTTexture& previous = m_records[size_t(1 - m_index)];
    // Published before the store: the port compares with the information of
    // the record it showed last frame, which is the one stored into now.
    PublishTexture(*m_out, &previous, 2, previous.m_flags);

    CPDTexture* source = m_in->m_value;
    if (!source || !context->m_render)
        return;
    CPTTexture& stored = m_records[size_t(m_index)];
    stored.m_texture = source->GetTexture(context->m_render);
    stored.SetTextureInfo(source->m_dimension, source->m_flags);
}

void CPersistentTextureNode::FrameFinished()
{
    m_index = 1 - m_index;
    m_records[size_t(m_index)].m_texture.reset();
}

void CPersistentTextureNode::InvalidateDevice(CRender*)
{
    // The pool frees its objects after the nodes let go of them.
    for (CPTTexture& record : m_records)
        record.m_texture.reset();
}

bool CPersistentTextureNode::ResetDevice(CRender*)
{
    return true;
}
