#pragma once

#include "scene/renderlist.h"
#include "scene/scenebase.h"
#include "scene/scenecontext.h"
#include "scene/scenesnapshot.h"
#include "scene/scenetime.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class CNodeFactory;
class CPort;
class QXmlStreamReader;
class QXmlStreamWriter;

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

    // The file forms, in CSceneFile.
    bool Load(std::string_view path, bool loadGraph);
    bool Save(std::string_view path, bool makeImages);
    void Serialize(QXmlStreamWriter* writer, bool document);
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

    const CSceneContext& GetContext() const { return m_context; }
    // The run the scene plays in, for its nodes; it must outlive the scene.
    void SetRunInfo(const SRunInfo& run) { m_context.m_run = &run; }
    // The first "Screen" node, or null.
    CNode* GetRoot() const { return m_root; }
    // Seconds the scene has been updated, warm-up included.
    float GetElapsed() const { return m_elapsed; }
    // The picture feeds back, so Restart winds the clock back.
    bool HasFeedback() const { return m_feedback; }
    void SetFeedback() { m_feedback = true; }
    // The last Load found the document broken and kept only what came before
    // the fault.
    bool ReadFailed() const { return m_readFailed; }

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

    std::vector<std::unique_ptr<CNode>> m_nodes;

private:
    // The loader sets what it finds out about the graph.
    friend class CSceneFile;

    // One evaluation of the graph from the root, with its mesh generation.
    void UpdateGraph(float step, bool warmingUp, CRender* render);
    void GenerateMeshes();
    // A transition scene in an editor's or the front end's preview repeats.
    bool IsPreviewRun() const;
    CPort* FindPort(std::string_view path, bool input, std::string* component) const;

    CRenderList m_renderList;
    CSceneContext m_context;
    float m_elapsed = 0.0f;
    // A texture input reads the "ColorNext" output of a RenderToTexture node.
    bool m_feedback = false;
    CNode* m_root = nullptr;
    bool m_readFailed = false;
    CNodeFactory* m_factory;
};
