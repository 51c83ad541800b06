#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

#include <string>

class CBitmapFile;
class CPortString;
class CPortTexture;

// A picture from disk as a texture, or a cube map of six pictures when the
// file name holds a "-" ("sky-" takes sky-posx.jpg to sky-negz.jpg). A picture
// that can't be read leaves a small transparent texture and a log line.
class CNTFile : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

    // Where a picture's name leads: "[apppath]" and "[userpath]" expanded,
    // backslashes turned, a relative name found in the data directory when
    // it is not beside the program's working directory.
    static std::string Resolve(const std::string& name);
    static constexpr int MissingSide = 32;

private:
    friend CNodeDeclaration DeclareNode<CNTFile>();

    // Loads the picture the port names, trying ".jpg" for a name that isn't
    // there; false, with a log line, when nothing could be read.
    bool LoadNamed(CBitmapFile& picture) const;
    bool RestoreCube(CRender* render);

    CPortString* m_filename = nullptr;
    CPortTexture* m_texture = nullptr;
};
