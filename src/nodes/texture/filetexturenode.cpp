#include "nodes/texture/filetexturenode.h"

#include "app/check.h"
#include "app/log.h"
#include "app/paths.h"
#include "nodes/support/publishtexture.h"
#include "ports/types/portstring.h"
#include "render/bitmapfile.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

template <>
CNodeDeclaration DeclareNode<CNTFile>()
{
    return {
        In(&CNTFile::m_filename, "Filename", "Filename of the texture we should use", ""),
        Out(&CNTFile::m_texture, "Texture", "Texture"),
    };
}

namespace {

// The "-" that marks a cube map counts only in the file's own name: folders
// such as "my-pictures" are common.
size_t CubeMark(const std::string& name)
{
    const size_t slash = name.find_last_of("/\\");
    return name.find('-', slash == std::string::npos ? 0 : slash + 1);
}

bool IsCube(const std::string& name)
{
    return CubeMark(name) != std::string::npos;
}

std::string WithExtension(const std::string& path, const char* extension)
{
    const size_t dot = path.rfind('.');
    const size_t slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return path + extension;
    return path.substr(0, dot) + extension;
}

} // namespace

std::string CNTFile::Resolve(const std::string& name)
{
    std::string path = name;
    std::replace(path.begin(), path.end(), '\\', '/');
    path = ExpandPath(path);
    std::error_code error;
    if (!path.empty() && path.front() != '/' && !std::filesystem::exists(path, error) && !g_paths.m_appPath.empty())
        return g_paths.m_appPath + "/" + path;
    return path;
}

bool CNTFile::LoadNamed(CBitmapFile& picture) const
{
    const std::string& name = m_filename->m_value;
    if (name.empty())
        return false;
    std::string path = Resolve(name);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        path = WithExtension(path, ".jpg");
    if (!picture.Load(path.c_str()) || picture.GetWidth() <= 0)
        return Error("Unable to load image \"%s\"", name.c_str());
    return true;
}

void CNTFile::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    UpdateInPorts(time);
    if (!m_filename->m_changed)
        return;
    if (IsCube(m_filename->m_value)) {
        SetTextureInfo(-1, PDT_ClampToEdge);
        m_deviceDirty = 0xFFFFFFFFu;
        return;
    }
    CBitmapFile picture;
    if (!LoadNamed(picture))
        return;
    SetTextureInfo(picture.GetHeight() <= 1 ? 1 : 2, PDT_MipMaps);
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    m_deviceDirty = 0xFFFFFFFFu;
}

bool CNTFile::RestoreDevice(CRender* render)
{
    if (IsCube(m_filename->m_value))
        return RestoreCube(render);
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    CBitmapFile picture;
    std::string name = m_filename->m_value;
    if (const size_t dds = name.find(".dds"); dds != std::string::npos)
        name.replace(dds, 4, ".jpg");
    const std::string path = Resolve(name);
    if (name.empty() || !picture.Load(path.c_str()) || picture.GetWidth() <= 0) {
        // A scene whose picture is missing goes on with a transparent one.
        CHECK_FAILURE(!(texture = textures->GetTexture(MissingSide, MissingSide, 0, TF_A8R8G8B8, TT_Normal)));
        if (uint8_t* texels = texture->Lock()) {
            std::memset(texels, 0, size_t(MissingSide) * MissingSide * 4);
            texture->Unlock(0);
        }
        return true;
    }
    const int width = picture.GetWidth(), height = picture.GetHeight();
    CHECK_FAILURE(!(texture = textures->GetTexture(width, height, 0, TF_A8R8G8B8, TT_Normal)));
    if (uint8_t* texels = texture->Lock()) {
        picture.ReadPixels(texels, 4 * width);
        texture->Unlock(0);
    }
    return true;
}

bool CNTFile::RestoreCube(CRender* render)
{
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    const std::string& name = m_filename->m_value;
    const std::string cubeName = Resolve(name.substr(0, CubeMark(name)));
    static constexpr const char* faces[] = {"-posx.jpg", "-negx.jpg", "-posy.jpg", "-negy.jpg", "-posz.jpg", "-negz.jpg"};
    texture.reset();
    for (int face = 0; face < 6; ++face) {
        CBitmapFile picture;
        const std::string path = cubeName + faces[face];
        if (!picture.Load(path.c_str()) || picture.GetWidth() <= 0) {
            texture.reset();
            return Error("Unable to load image \"%s\"", path.c_str());
        }
        if (!texture)
            CHECK_FAILURE(!(texture = textures->GetTexture(picture.GetWidth(), picture.GetHeight(), -1, TF_A8R8G8B8,
                                                           TT_Normal)));
        if (picture.GetWidth() != texture->m_width || picture.GetHeight() != texture->m_height) {
            texture.reset();
            return Error("The faces of the cube map \"%s\" differ in size", name.c_str());
        }
        uint8_t* texels = texture->Lock();
        if (!texels)
            continue;
        picture.ReadPixels(texels, 4 * picture.GetWidth());
        texture->Unlock(face + 1);
    }
    return true;
}

void CNTFile::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}
