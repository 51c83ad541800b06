#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class QXmlStreamReader;
class QXmlStreamWriter;

// Stored numbers of the port types; their names are the "Type" text of a port
// description.
enum EPortType : int
{
    PT_None = 0,
    PT_Bool = 1,
    PT_Int = 2,
    PT_Float = 3,
    PT_Color = 4,
    PT_String = 5,
    PT_Rect = 6,
    PT_Render = 7,
    PT_Vector = 8,
    PT_Object = 9,
    PT_Effect = 10,
    PT_Texture = 11,
    PT_Mesh = 12,
};

const char* PortTypeName(int type);
// Value ports are stored in scene files; data ports carry per-frame pointers.
bool IsValuePortType(int type);

// A typed input or output of a node. Input ports hold a value of their own or
// read the output port they are connected to.
class CPort
{
public:
    CPort(int type, std::string_view name, std::string_view desc);
    virtual ~CPort();

    virtual CPort* GetSubPort(std::string_view name);
    virtual CPort* GetSubPort(int index);
    virtual std::string GetComponent(std::string_view component);
    virtual std::string GetValue();
    virtual void SetComponent(std::string_view component, std::string_view text);
    virtual void SetValue(std::string_view text);
    virtual void Serialize(QXmlStreamWriter* writer, bool describe);
    // Called with the reader on the port's start element. Leaves it either
    // there or on the port's end element.
    virtual void Deserialize(QXmlStreamReader* reader);
    virtual void Update(float time) = 0;

    // Called on an input port: replaces any connection by one to `out`.
    void Connect(CPort* out);
    void Disconnect(CPort* other);
    CNode* GetConnectedNode() const;
    // A copy of the right class, chosen by m_type; null for an unknown type.
    static std::unique_ptr<CPort> Clone(const CPort& port);

    // Sets the owner, also of sub-ports.
    void SetNode(CNode* node);
    // Marks the port as an input or output, also its sub-ports.
    void SetInput(bool isInput);
    // Clears m_changed, also on sub-ports.
    void ClearChanged();

    int m_type;
    std::string m_name;
    std::string m_desc;
    CNode* m_node = nullptr;
    bool m_isInput = false;
    bool m_changed = true;
    int m_subPorts = 0;
    std::vector<CPort*> m_connections;

protected:
    // A copy is unconnected and changed; it belongs to no node until SetType.
    CPort(const CPort& other);
    CPort& operator=(const CPort&) = delete;

    // The update shared by all classes: pulls the connected node and takes
    // its change flag. Returns the connected port, or null without connection.
    CPort* PullConnected(float time);

private:
    void RemoveConnection(CPort* other);
};
