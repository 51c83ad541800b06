#pragma once

#include "scene/scenesnapshot.h"

#include <string_view>

class CScene;
class QXmlStreamReader;
class QXmlStreamWriter;

// The file forms of a scene: its XML document, the ".lmc" container that
// holds the document with two pictures, and the bare XML of older ".lms"
// files.
class CSceneFile
{
public:
    explicit CSceneFile(CScene& scene) : m_scene(scene) {}

    // Reads a ".lmc" container or an older bare XML file. False only when the
    // file can't be opened; a broken document leaves what was read up to the
    // fault, with a log line.
    bool Load(std::string_view path, bool loadGraph);
    // Writes a ".lmc" container (".lms" in `path` becomes ".lmc"). The old file
    // stays as it was unless the whole new one could be written.
    bool Save(std::string_view path, bool makeImages);
    // `document` adds the XML declaration and leaves out "File".
    void Serialize(QXmlStreamWriter* writer, bool document);
    // With `loadGraph` false only the header is read: attributes, author,
    // description, tags and licence.
    bool Deserialize(QXmlStreamReader* reader, bool loadGraph);

    // Set by the render side once it can draw scenes into targets; without it
    // a save that asks for images writes none.
    static void SetSnapshotSource(SceneSnapshotSource source);

private:
    void ReadAttributes(QXmlStreamReader* reader);
    void ReadNodes(QXmlStreamReader* reader);
    void ReadConnections(QXmlStreamReader* reader);
    void ReadCompatibility(QXmlStreamReader* reader);
    void ReadLicense(QXmlStreamReader* reader);
    void WriteConnections(QXmlStreamWriter* writer) const;
    void WriteCompatibility(QXmlStreamWriter* writer) const;
    void DetectFeedback();
    void RewriteOldShaders();

    CScene& m_scene;
};
