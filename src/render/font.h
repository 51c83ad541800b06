#pragma once

#include "render/renderquads.h"
#include "scene/pdobject.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CCamera;
class CPDEffect;
class CRender;
class CRenderItemList;
class CRenderList;
class CTexture;

// Text drawn from a glyph page: a ".fnt" block file and the ".png" of the
// same base name, whose one channel becomes the alpha of a white texture (a
// distance field: the outline is at one half). Text is written as quads
// into the font's own batch, one byte one glyph, in units of line heights
// with y growing upwards.
class CFont : public CPDObject
{
public:
    struct SGlyph
    {
        float x = 0, y = 0, width = 0, height = 0;
        float xOffset = 0, yOffset = 0, xAdvance = 0;
        // Second character and amount, in page pixels.
        std::vector<std::pair<float, float>> kerning;
    };

    // Lets the owner place or shape each glyph's quad itself. Called with the
    // user data, the next quad, the quad count, 0, the position (x, y, z),
    // width, height and the two corners of the texture rectangle. Answers
    // null to write nothing, `quad` to have the (changed) values written, or
    // the address behind the quads it wrote itself.
    using FCharacter = SQuad* (*)(void* user, SQuad* quad, int32_t count, int32_t zero, float* position, float width,
                                  float height, float* uv0, float* uv1);

    enum EAlign
    {
        Align_Left = 0,
        Align_Centre = 1,
        Align_Right = 2,
        Align_Justify = 3,
    };

    CFont();
    ~CFont() override;

    // Reads the block file and makes room for `capacity` quads of text; 0,
    // or -1 for a file that is no font. Loading the file now loaded again
    // only sets the capacity.
    int Load(std::string_view path, int capacity);
    std::shared_ptr<CTexture> GetTexture(CRender* render) const;
    void ClearText() { m_quadCount = 0; }
    int32_t GetQuadCount() const { return m_quadCount; }
    SQuad* GetQuads() { return m_quads.GetQuads(); }
    float GetTextWidth(const char* text, int count) const;
    float GetKerning(int first, int second) const;
    void Write(float x, float y, float z, const char* text, int count, float extra);
    void WriteCentered(float x, float y, float z, const char* text, int count);
    void WriteLines(float x, float y, float z, const char* text, int count, int alignment);
    void WriteBox(float x, float y, float z, float box, const char* text, int count, int alignment);

    // The page texture and the quads' buffers; a missing page gives a blank
    // texture, so that the text draws nothing that shows.
    bool RestoreDevice(CRender* render);
    void InvalidateDevice(CRender* render);
    void Draw(CRender* render) override;
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect);

    // Filled by the loader.
    void SetCommon(int16_t lineHeight, int16_t base, int16_t width, int16_t height);
    void AddCharacter(uint32_t id, const SGlyph& glyph);
    void AddKerning(uint32_t first, uint32_t second, float amount);

    const SGlyph* GetGlyph(int code) const;
    float GetScale() const { return m_scale; }
    int16_t GetLineHeight() const { return m_lineHeight; }
    int16_t GetBase() const { return m_base; }

    FCharacter m_characterCallback = nullptr;
    void* m_characterUser = nullptr;

private:
    const SGlyph& GlyphOrDefault(unsigned char code) const;
    // The length a negative count (and for some callers 0) stands for.
    static int Length(const char* text, int count, bool zeroMeansAll);

    int16_t m_lineHeight = 0;
    int16_t m_base = 0;
    int16_t m_pageWidth = 0;
    int16_t m_pageHeight = 0;
    std::array<std::unique_ptr<SGlyph>, 256> m_glyphs;
    SGlyph m_defaultGlyph;
    float m_scale = 1.0f;
    std::string m_name;
    CRenderQuads m_quads;
    int32_t m_quadCount = 0;
    int32_t m_capacity = 0;
    struct SDeviceObjects
    {
        std::shared_ptr<CTexture> m_Texture;
    };
    std::array<SDeviceObjects, 1> dObjs;
};
