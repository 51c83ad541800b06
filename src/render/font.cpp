#include "render/font.h"

#include "app/log.h"
#include "app/regularfile.h"
#include "render/bitmapfile.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace {

constexpr char kMagic[4] = {'B', 'M', 'F', 3};
constexpr size_t CharacterRecord = 34;
constexpr size_t KerningRecord = 12;
constexpr uint32_t DefaultGlyphId = 0xffffffffu;

// Reads the little-endian numbers of a block.
class CBlockReader
{
public:
    CBlockReader(const char* data, size_t size) : m_data(data), m_size(size) {}
    bool Has(size_t bytes) const { return m_at + bytes <= m_size; }
    template <class T>
    T Take()
    {
        T value;
        std::memcpy(&value, m_data + m_at, sizeof value);
        m_at += sizeof value;
        return value;
    }
    void Skip(size_t bytes) { m_at += bytes; }
    size_t Left() const { return m_size - m_at; }

private:
    const char* m_data;
    size_t m_size;
    size_t m_at = 0;
};

} // namespace

// The loader of the block format; what it read before a fault stays.
class CFontLoaderBinaryFormat
{
public:
    CFontLoaderBinaryFormat(const QByteArray& file, CFont& font, const std::string& name)
        : m_file(file), m_font(font), m_name(name)
    {
    }

    int Load()
    {
        if (m_file.size() < 4 || std::memcmp(m_file.constData(), kMagic, 4) != 0) {
            Error("%s", m_name.c_str());
            return -1;
        }
        CBlockReader file(m_file.constData() + 4, size_t(m_file.size()) - 4);
        while (file.Has(1)) {
            const uint8_t type = file.Take<uint8_t>();
            if (!file.Has(4))
                break;
            const uint32_t size = file.Take<uint32_t>();
            const size_t payload = std::min<size_t>(size, file.Left());
            CBlockReader block(m_file.constData() + (size_t(m_file.size()) - file.Left()), payload);
            file.Skip(payload);
            switch (type) {
            case 1:
            case 3:
                break;
            case 2:
                if (block.Has(8)) {
                    const auto lineHeight = block.Take<int16_t>(), base = block.Take<int16_t>();
                    const auto width = block.Take<int16_t>(), height = block.Take<int16_t>();
                    m_font.SetCommon(lineHeight, base, width, height);
                }
                break;
            case 4:
                while (block.Has(CharacterRecord)) {
                    const uint32_t id = block.Take<uint32_t>();
                    CFont::SGlyph glyph;
                    for (float* value : {&glyph.x, &glyph.y, &glyph.width, &glyph.height, &glyph.xOffset,
                                         &glyph.yOffset, &glyph.xAdvance})
                        *value = block.Take<float>();
                    block.Skip(2); // page and channel
                    m_font.AddCharacter(id, glyph);
                }
                break;
            case 5:
                while (block.Has(KerningRecord)) {
                    const uint32_t first = block.Take<uint32_t>();
                    const int32_t second = block.Take<int32_t>();
                    m_font.AddKerning(first, uint32_t(second), block.Take<float>());
                }
                break;
            default:
                Error("Unexpected block type (%d)", int(type));
                return -1;
            }
        }
        return 0;
    }

private:
    const QByteArray& m_file;
    CFont& m_font;
    std::string m_name;
};

CFont::CFont() = default;

CFont::~CFont() = default;

int CFont::Load(std::string_view path, int capacity)
{
    m_capacity = std::max(0, capacity);
    m_quads.Resize(m_capacity);
    if (path == m_name)
        return 0;
    m_name = path;
    QByteArray file;
    std::string error;
    if (!ReadRegularFile(m_name, FileLimit::Font, file, error)) {
        Error("Unable to load font \"%s\"", m_name.c_str());
        return 0;
    }
    const int result = CFontLoaderBinaryFormat(file, *this, m_name).Load();
    // A line height of 0 would give no scale: such a font keeps 1.
    if (m_lineHeight > 0)
        m_scale = 1.0f / float(m_lineHeight);
    return result;
}

void CFont::SetCommon(int16_t lineHeight, int16_t base, int16_t width, int16_t height)
{
    m_lineHeight = lineHeight;
    m_base = base;
    m_pageWidth = width;
    m_pageHeight = height;
}

void CFont::AddCharacter(uint32_t id, const SGlyph& glyph)
{
    if (id == DefaultGlyphId) {
        m_defaultGlyph = glyph;
    } else if (id < 256) {
        if (!m_glyphs[id])
            m_glyphs[id] = std::make_unique<SGlyph>();
        std::vector<std::pair<float, float>> kerning = std::move(m_glyphs[id]->kerning);
        *m_glyphs[id] = glyph;
        m_glyphs[id]->kerning = std::move(kerning);
    }
}

void CFont::AddKerning(uint32_t first, uint32_t second, float amount)
{
    if (first < 256 && m_glyphs[first])
        m_glyphs[first]->kerning.emplace_back(float(int32_t(second)), amount);
}

const CFont::SGlyph* CFont::GetGlyph(int code) const
{
    return code >= 0 && code < 256 ? m_glyphs[size_t(code)].get() : nullptr;
}

const CFont::SGlyph& CFont::GlyphOrDefault(unsigned char code) const
{
    return m_glyphs[code] ? *m_glyphs[code] : m_defaultGlyph;
}

int CFont::Length(const char* text, int count, bool zeroMeansAll)
{
    if (!text)
        return 0;
    return count < 0 || (count == 0 && zeroMeansAll) ? int(std::strlen(text)) : count;
}

float CFont::GetKerning(int first, int second) const
{
    const SGlyph* glyph = GetGlyph(first);
    if (!glyph)
        return 0.0f;
    for (const auto& [other, amount] : glyph->kerning) {
        if (other == float(second))
            return amount * m_scale;
    }
    return 0.0f;
}

float CFont::GetTextWidth(const char* text, int count) const
{
    const int n = Length(text, count, true);
    float width = 0.0f;
    for (int i = 0; i < n; ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        width += GlyphOrDefault(code).xAdvance * m_scale;
        if (i + 1 < n)
            width += GetKerning(code, static_cast<unsigned char>(text[i + 1]));
    }
    return width;
}

void CFont::Write(float x, float y, float z, const char* text, int count, float extra)
{
    if (!text)
        return;
    const float s = m_scale;
    const float pageWidth = std::max<float>(m_pageWidth, 1), pageHeight = std::max<float>(m_pageHeight, 1);
    for (int i = 0; i < count && m_quadCount < m_capacity; ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        const SGlyph& g = GlyphOrDefault(code);
        float uv0[2] = {g.x / pageWidth, g.y / pageHeight};
        float uv1[2] = {uv0[0] + g.width / pageWidth, uv0[1] + g.height / pageHeight};
        float w = g.width * s, h = g.height * s;
        float position[3] = {x + g.xOffset * s, y + float(m_base) * s - g.yOffset * s, z};
        SQuad* quad = m_quads.GetQuads() + m_quadCount;
        SQuad* written = quad;
        if (m_characterCallback)
            written = m_characterCallback(m_characterUser, quad, m_quadCount, 0, position, w, h, uv0, uv1);
        if (written == quad) {
            const auto vertex = [&](float vx, float vy, float u, float v) {
                return SVertexPNTBTC{{vx, vy, position[2]}, 0xffffffffu, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
            };
            const float qx = position[0], qy = position[1];
            *quad = SQuad{{vertex(qx + w, qy, uv1[0], uv0[1]), vertex(qx, qy, uv0[0], uv0[1]),
                           vertex(qx + w, qy - h, uv1[0], uv1[1]), vertex(qx, qy - h, uv0[0], uv1[1])}};
            ++m_quadCount;
        } else if (written) {
            ++m_quadCount;
        }
        x += g.xAdvance * s;
        if (code == ' ')
            x += extra;
        if (i + 1 < count)
            x += GetKerning(code, static_cast<unsigned char>(text[i + 1]));
    }
}

void CFont::WriteCentered(float x, float y, float z, const char* text, int count)
{
    const int n = Length(text, count, true);
    Write(x - GetTextWidth(text, n) * 0.5f, y, z, text, n, 0.0f);
}

void CFont::WriteLines(float x, float y, float z, const char* text, int count, int alignment)
{
    const int n = Length(text, count, false);
    int start = 0;
    while (start < n) {
        int end = start;
        while (end < n && text[end] != '\n')
            ++end;
        // Empty lines vanish in the cut.
        if (end > start) {
            const float width = GetTextWidth(text + start, end - start);
            const float left = alignment == Align_Centre ? x - width * 0.5f : alignment == Align_Right ? x - width : x;
            Write(left, y, z, text + start, end - start, 0.0f);
            y -= float(m_lineHeight) * m_scale;
        }
        start = end + 1;
    }
}

void CFont::WriteBox(float x, float y, float z, float box, const char* text, int count, int alignment)
{
    const int n = Length(text, count, false);
    const float blank = GetTextWidth(" ", 1);
    int lineStart = 0;
    while (lineStart < n) {
        // Words go on the line while they fit; the first always does, so a
        // word wider than the box stands on a line of its own.
        int lineEnd = lineStart, at = lineStart, words = 0;
        float width = 0.0f;
        bool ended = false;
        while (at < n) {
            int wordEnd = at;
            while (wordEnd < n && text[wordEnd] != ' ' && text[wordEnd] != '\n')
                ++wordEnd;
            const float wordWidth = GetTextWidth(text + at, wordEnd - at);
            const float separator = words >= 1 ? blank : 0.0f;
            if (words >= 1 && separator + width + wordWidth > box)
                break;
            width += separator + wordWidth;
            ++words;
            lineEnd = wordEnd;
            at = wordEnd;
            if (at >= n || text[at] == '\n') {
                ended = true;
                break;
            }
            ++at; // the blank behind the word
        }
        float extra = 0.0f, left = x;
        if (alignment == Align_Justify && !ended && words > 1)
            extra = (box - width) / float(words - 1);
        else if (alignment == Align_Right)
            left = x + box - width;
        else if (alignment == Align_Centre)
            left = x + (box - width) * 0.5f;
        Write(left, y, z, text + lineStart, lineEnd - lineStart, extra);
        y -= float(m_lineHeight) * m_scale;
        // Past the blank or the line end behind the line.
        lineStart = lineEnd < n ? lineEnd + 1 : n;
    }
}

std::shared_ptr<CTexture> CFont::GetTexture(CRender* render) const
{
    return render ? dObjs[size_t(render->GetDeviceIndex())].m_Texture : nullptr;
}

bool CFont::RestoreDevice(CRender* render)
{
    std::filesystem::path page(m_name);
    std::string name = m_name;
    std::replace(name.begin(), name.end(), '\\', '/');
    page = std::filesystem::path(name).replace_extension(".png");
    CBitmapFile picture;
    if (!picture.Load(page.string().c_str()) || picture.GetWidth() <= 0 || picture.GetHeight() <= 0)
        Error("Unable to load image \"%s\"", page.string().c_str());
    const bool loaded = picture.GetWidth() > 0 && picture.GetHeight() > 0;
    const int width = loaded ? picture.GetWidth() : 256, height = loaded ? picture.GetHeight() : 256;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    SDeviceObjects& objects = dObjs[size_t(render->GetDeviceIndex())];
    if (!textures || !(objects.m_Texture = textures->GetTexture(width, height, 0, TF_A8R8G8B8, TT_Normal)))
        return Error("!(dObjs->m_Texture = render->GetTextureManager()->GetTexture(width, height, 0, TF_A8R8G8B8, "
                     "TT_Normal)) in render\\font");
    uint8_t* texels = objects.m_Texture->Lock();
    if (texels) {
        if (loaded) {
            picture.ReadPixels(texels, 4 * width);
            // White, with the page's one channel as alpha.
            for (size_t i = 0; i < size_t(width) * size_t(height); ++i) {
                uint8_t* texel = texels + 4 * i;
                texel[3] = texel[0];
                texel[0] = texel[1] = texel[2] = 255;
            }
        } else {
            std::memset(texels, 0, size_t(width) * size_t(height) * 4);
        }
        objects.m_Texture->Unlock(0);
    }
    m_quads.RestoreDevice(render);
    return true;
}

void CFont::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_Texture.reset();
    m_quads.InvalidateDevice(render);
}

void CFont::Draw(CRender* render)
{
    m_quads.Draw(render);
}

void CFont::AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect)
{
    if (m_quadCount > 0)
        m_quads.AddToRenderList(list, parents, view, effect, m_quadCount);
}
