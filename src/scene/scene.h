#pragma once

#include "scene/renderlist.h"
#include "scene/scenebase.h"
#include "scene/scenecontext.h"
#include "scene/scenesnapshot.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class CNodeFactory;
class CPort;
class CScene;
class QXmlStreamReader;
class QXmlStreamWriter;

// A point in time in UTC, to the second. All zero means unset.
struct SSceneTime
{
    uint16_t m_year = 0;
    uint16_t m_month = 0;
    uint16_t m_day = 0;
    uint16_t m_hour = 0;
    uint16_t m_minute = 0;
    uint16_t m_second = 0;

    bool IsSet() const { return m_year || m_month || m_day || m_hour || m_minute || m_second; }
    static SSceneTime NowUtc();
    // "YYYYMMDD hh:mm", or an empty text for an unset time.
    std::string Format() const;
    // Unset when the text is shorter than 14 characters or holds no valid date.
    static SSceneTime Parse(std::string_view text);
    bool operator==(const SSceneTime&) const = default;
};

// Renders the scene for the pictures of its container. Returns false when no
// picture can be had.
using SceneSnapshotSource = std::function<bool(CScene& scene, CSceneSnapshot& picture)>;

// A scene that owns a node graph, with the metadata and the file forms of a
// scene: ".lmc" containers and the bare XML of older ".lms" files.
class CScene : public CSceneBase
{
public:
    // Bits of m_sceneType.
    enum ESceneType : int32_t
    {
        SceneType_Background = 0x1,
        SceneType_Foreground = 0x2,
        SceneType_PostProcessing = 0x4,
        SceneType_Transition = 0x8,
        SceneType_Standalone = 0x100,
        SceneType_Hidden = 0x800,
    };

    static constexpr const char* DefaultLicenseType = "CC BY-NC-SA 4.0";
    // A longer warm-up in a file is cut to this: each second costs 30 graph
    // updates before the first frame shows.
    static constexpr float MaxWarmupTime = 600.0f;
    // A transition shorter than this would make its time jump past the end
    // in one step; a zero or negative length in the settings becomes this.
    static constexpr float MinTransitionLength = 0.001f;

    CScene();
    ~CScene() override;

    bool Prepare() override;
    // Runs the graph for one frame (warm-up first, if due) and builds the
    // render list that Draw executes.
    void Update(float deltaTime, CRender* render) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void Draw(CRender* render) override;
    void ForceRestore() override;
    std::string GetFileName() const override { return m_fileName; }
    std::string GetId() const override { return m_id; }
    std::string GetName() const override;
    void Restart() override;
    int32_t CheckCompatibility(const CSceneBase* other) const override;

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

    // A node of the type, named uniquely and appended; null for a type the
    // factory doesn't know.
    CNode* AddNode(std::string_view type);
    std::string UniqueName(std::string_view base) const;
    CNode* FindNode(std::string_view name) const;
    // Disconnects the node from all others and deletes it.
    bool RemoveNode(std::string_view name);
    // Paths are "<node>.<port>" with an optional ".<sub-port>", which
    // `component` receives.
    CPort* FindInPort(std::string_view path, std::string* component) const;
    CPort* FindOutPort(std::string_view path) const;
    bool Connect(std::string_view from, std::string_view to);
    bool Disconnect(std::string_view from, std::string_view to);
    void GenerateId();

    // Sets the licence type and the text that goes with it.
    void SetLicenseType(std::string_view type);
    // The standard text of a content licence type; empty for an unknown type.
    static std::string GetLicenseText(std::string_view type);

    // Set by the render side once it can draw scenes into targets; without it
    // a save that asks for images writes none.
    static void SetSnapshotSource(SceneSnapshotSource source);

    std::string m_id;
    std::string m_parentId;
    std::string m_author;
    std::string m_desc;
    SSceneTime m_created;
    SSceneTime m_lastModified;
    int32_t m_version = 0;
    std::string m_fileName;
    float m_warmupTime = 0.0f;
    int32_t m_sceneType = 0;
    std::vector<std::string> m_tags;
    std::string m_licenseType = DefaultLicenseType;
    std::string m_licenseText;
    bool m_relicensingPossible = false;
    std::vector<std::string> m_goodScenes;
    std::vector<std::string> m_badScenes;

    CRenderList m_renderList;
    std::vector<std::unique_ptr<CNode>> m_nodes;
    CSceneContext m_context;
    // Seconds the scene has been updated, warm-up included.
    float m_elapsed = 0.0f;
    // A texture input reads the "ColorNext" output of a RenderToTexture node:
    // the picture feeds back, so Restart winds the clock back.
    bool m_feedback = false;
    // The first "Screen" node, or null.
    CNode* m_root = nullptr;
    // The last Load found the document broken and kept only what came before
    // the fault.
    bool m_readFailed = false;

private:
    // One evaluation of the graph from the root, with its mesh generation.
    void UpdateGraph(float step, bool warmingUp, CRender* render);
    void GenerateMeshes();
    // A transition scene in an editor's or the front end's preview repeats.
    static bool IsPreviewRun();
    void ReadAttributes(QXmlStreamReader* reader);
    void ReadNodes(QXmlStreamReader* reader);
    void ReadConnections(QXmlStreamReader* reader);
    void ReadCompatibility(QXmlStreamReader* reader);
    void ReadLicense(QXmlStreamReader* reader);
    void WriteConnections(QXmlStreamWriter* writer) const;
    void WriteCompatibility(QXmlStreamWriter* writer) const;
    void DetectFeedback();
    void RewriteOldShaders();
    CPort* FindPort(std::string_view path, bool input, std::string* component) const;

    CNodeFactory* m_factory;
};
