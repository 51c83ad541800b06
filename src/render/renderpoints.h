#pragma once

#include "render/renderbatcher.h"

#include <cstdint>
#include <span>
#include <vector>

class CNode;

// Many small things at points: plain points, segments, camera-facing
// textured quads, three crossed quads, instances of another object, or
// point sprites, by the primitive chosen.
class CRenderPoints : public CRenderBatcher
{
public:
    enum EPrimitive
    {
        Point = 0,
        Line = 1,
        Texture = 2,
        AxisTexture = 3,
        Object = 4,
        PointSprite = 5,
    };

    // Point, and the two ends of a Line (end first, then start).
    struct SPoint
    {
        float x, y, z;
        uint32_t color;
    };
    // Texture, AxisTexture and Object: position, colour, size per axis.
    struct SSized
    {
        float x, y, z;
        uint32_t color;
        float sx, sy, sz;
    };
    struct SSprite
    {
        float x, y, z;
        uint32_t color;
        float size;
    };

    int m_RenderBufferPoints = 10000;
    int m_RenderBufferQuads = 600;
    // Bends the billboards' normals from facing the camera (0) towards
    // pointing out of the quad's centre (1).
    float m_roundness = 0.0f;

    // Stores both and sizes the array for `capacity` records of the
    // primitive. Changing the primitive needs RestoreDevice again.
    void SetPrimitive(int primitive, int capacity);
    int GetPrimitive() const { return m_primitive; }
    int GetCapacity() const { return m_capacity; }
    static int RecordSize(int primitive);

    // The records as the primitive lays them out; a Line is two SPoints.
    template <class TRecord>
    std::span<TRecord> Records()
    {
        static_assert(sizeof(TRecord) % sizeof(uint32_t) == 0);
        return {reinterpret_cast<TRecord*>(m_data.data()), m_data.size() * sizeof(uint32_t) / sizeof(TRecord)};
    }

    bool RestoreDevice(CRender* render) override;
    // Draws `count` records, or the whole capacity when it is not above 0.
    // With `object` and a sized primitive, the object is drawn once per
    // record instead, coloured and placed by it.
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect,
                         CNode* object = nullptr, int count = 0);
    void Draw(CRender* render) override;

private:
    void DrawBillboards(CRender* render);
    void DrawCrossedQuads(CRender* render);
    void AddObjects(CRenderList* list, CRenderItemList* parents, CCamera* view, CNode* object);

    int m_primitive = Point;
    int m_capacity = 0;
    int m_count = 0;
    // Raw records in words: the primitive decides their size.
    std::vector<uint32_t> m_data;
};
