#include "nodes/support/publishtexture.h"

#include "ports/types/dataports.h"
#include "scene/pdtexture.h"

void PublishTexture(CPortTexture& port, CPDTexture* record, int dimension, int flags)
{
    const CPDTexture* before = port.m_value;
    // Read before the new information is stored: the record may be the same.
    const bool sameInfo = before && before->m_dimension == dimension && before->m_flags == flags;
    if (record)
        record->SetTextureInfo(dimension, flags);
    port.m_value = record;
    if (record ? !sameInfo : before != nullptr)
        port.m_changed = true;
}
