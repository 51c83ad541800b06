#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CCamera;
class CNodeDeclaration;
class CNodeInfo;
class CPort;
class CRender;
class CRenderList;
class CRenderItemList;
struct CSceneContext;
struct SRunInfo;
class QXmlStreamReader;
class QXmlStreamWriter;

// The description and ports of node class TNode. Each node class defines it
// in its source file and names it a friend; the node type list refers to it.
template <class TNode>
CNodeDeclaration DeclareNode();

// A node of a scene graph. It owns typed ports made from its type's
// prototypes and is evaluated by pulling from the graph's root.
class CNode
{
public:
    CNode() = default;
    virtual ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    // Called once after the ports exist and are bound.
    virtual bool Init();
    virtual void Update(float time, CSceneContext* context);
    // After the frame has been shown: give back per-frame textures, flip buffers.
    virtual void FrameFinished();
    virtual bool RestoreDevice(CRender* render);
    virtual void InvalidateDevice(CRender* render);
    // Invalidate then restore; succeeds whatever the restore said.
    virtual bool ResetDevice(CRender* render);
    virtual void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera);
    virtual void Serialize(QXmlStreamWriter* writer);
    // Called with the reader on the node's start element; reads to its end.
    virtual void Deserialize(QXmlStreamReader* reader);

    // Makes the ports from the type's prototypes and binds the members that
    // point to them.
    void SetType(const CNodeInfo& info);
    // Updates every input port; true if any of them changed.
    bool UpdateInPorts(float time);
    // Evaluates the node once per frame (or on every pull when m_updateOnce is
    // cleared), after the nodes its connected inputs read.
    void Pull(CSceneContext* context, float time);
    // Connects input `inPort` of this node to output `outPort` of `from`.
    bool Connect(std::string_view inPort, CNode* from, std::string_view outPort);
    // Breaks every connection of this node's inputs to ports of `other`.
    void DisconnectFrom(CNode* other);
    // Clears the change flags of all ports, at the end of a graph update.
    void ClearChangedFlags();

    // Ports by exact name, first match; sub-ports of a Rect by their full name.
    CPort* GetInPort(std::string_view name) const;
    CPort* GetOutPort(std::string_view name) const;
    // The same, typed; null when the port is missing or of another class.
    template <class TPort>
    TPort* GetInPort(std::string_view name) const
    {
        return dynamic_cast<TPort*>(GetInPort(name));
    }
    template <class TPort>
    TPort* GetOutPort(std::string_view name) const
    {
        return dynamic_cast<TPort*>(GetOutPort(name));
    }

    const char* GetTypeName() const;
    // The run of the node's scene, or the standalone values without a scene.
    const SRunInfo& Run() const;

    bool m_updated = false;
    bool m_updateOnce = true;
    uint32_t m_deviceDirty = 0xFFFFFFFFu;
    std::string m_name;
    const CNodeInfo* m_info = nullptr;
    std::vector<std::unique_ptr<CPort>> m_inPorts;
    std::vector<std::unique_ptr<CPort>> m_outPorts;
    CSceneContext* m_context = nullptr;

    // Nested pulls beyond this depth stop, so that a pathological graph
    // cannot overflow the stack.
    static constexpr int MaxPullDepth = 512;

private:
    // True if connecting `from` into this node would close a loop in which
    // every node is evaluated on every pull: such a pull would never end.
    bool WouldMakeEndlessCycle(const CNode* from) const;
};
