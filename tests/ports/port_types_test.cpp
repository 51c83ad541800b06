#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "scene/node.h"
#include "scene/scenecontext.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <clocale>
#include <functional>
#include <gtest/gtest.h>

namespace {

// One port of each value class, as node types declare them.
struct SPorts
{
    SPorts()
    {
        intPort.AddValue(3, "Three");
        intPort.AddValue(7, "Seven");
        intPort.AddValue(8, "three"); // a later number with the same name loses
    }
    CPortBool boolPort{"Enabled", "on or off", false};
    CPortInt intPort{"Mode", "choice", 1, -5, 10};
    CPortFloat floatPort{"Speed", "how fast", 0.5f, 0.01f, -2.0f, 2.0f};
    CPortColor colorPort{"Color", "tint", {1, 1, 1, 1}, {0, 0, 0, 0}, {1, 1, 1, 1}};
    CPortVector vectorPort{"Pos", "where", {0, 0, 0}, {0.1f, 0.1f, 0.1f}, {-1, -1, -1}, {1, 1, 10}};
    CPortRect rectPort{"Area", "section", {0, 0, 1, 1}, {0.01f, 0.01f, 0.02f, 0.02f}, {0, 0, 0, 0}, {1, 1, 2, 2}};
    CPortString stringPort{"Text", "words", "default"};
};

std::string Stored(CPort& port, bool describe = false)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartElement("Port");
    port.Serialize(&writer, describe);
    writer.writeEndElement();
    return xml.toStdString();
}

// Reads a stored "Port" element into `port` and checks that the reader can go
// on with the element after it.
void Load(CPort& port, const std::string& element)
{
    QXmlStreamReader reader(QByteArray::fromStdString("<Node>" + element + "<Next/></Node>"));
    reader.readNextStartElement();
    ASSERT_TRUE(reader.readNextStartElement());
    port.Deserialize(&reader);
    if (!reader.isEndElement())
        reader.skipCurrentElement();
    ASSERT_TRUE(reader.readNextStartElement());
    EXPECT_EQ(reader.name(), u"Next") << element;
}

} // namespace

TEST(PortText, ValuesTurnIntoTextAndBack)
{
    SPorts p;
    CPortMesh meshPort("Mesh", "mesh");
    const struct
    {
        CPort* port;
        const char* text;
        const char* value;
    } cases[] = {
        {&p.boolPort, "TRUE", "On"}, {&p.boolPort, "Off", "Off"}, {&p.boolPort, "on", "On"},
        {&p.boolPort, "2", "Off"}, {&p.boolPort, "1", "On"}, {&p.intPort, "SEVEN", "7"},
        {&p.intPort, "three", "3"}, {&p.intPort, "99", "10"}, {&p.intPort, "-99", "-5"},
        {&p.intPort, "junk", "0"}, {&p.intPort, "6abc", "6"}, {&p.floatPort, "1.25", "1.25"},
        {&p.floatPort, "7", "2"}, {&p.floatPort, "abc", "0"}, {&p.floatPort, "nan", "0"},
        {&p.colorPort, "0.5 0.25 2 -1", "0.5 0.25 1 0"}, {&p.colorPort, "1 0.5 0.25", "0.5 0.25 1 0"},
        {&p.vectorPort, "0.5 -3 5", "0.5 -1 5"}, {&p.vectorPort, "1 2", "0.5 -1 5"},
        {&p.rectPort, "0.1 0.2 0.5 3", "0.1 0.2 0.5 1"}, {&p.rectPort, "x", "0.1 0.2 0.5 1"},
        {&p.stringPort, " as is ", " as is "}, {&meshPort, "anything", "<Missing>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.port->m_name << " <- \"" << c.text << "\"");
        c.port->SetValue(c.text);
        EXPECT_EQ(c.port->GetValue(), c.value);
    }

    // Components: vectors by axis, other ports take a component as the value.
    p.vectorPort.SetComponent("z", "20");
    p.vectorPort.SetComponent("x", "not a number");
    EXPECT_EQ(p.vectorPort.GetValue(), "0.5 -1 10");
    EXPECT_EQ(p.vectorPort.GetComponent("Y"), "-1");
    EXPECT_EQ(p.vectorPort.GetComponent("w"), "");
    p.floatPort.SetComponent("x", "1.5");
    EXPECT_EQ(p.floatPort.GetComponent("y"), "1.5");

    // Width is right minus left for the value, step and range alike.
    auto* w = static_cast<CPortFloat*>(p.rectPort.GetSubPort("W"));
    ASSERT_EQ(w, p.rectPort.GetSubPort(2));
    EXPECT_EQ(w->m_name + w->m_desc, "Area.wsection(width)");
    EXPECT_EQ(std::vector<float>({w->m_value, w->m_step, w->m_min, w->m_max}), std::vector<float>({0.5f, 0.01f, 0, 1}));
    EXPECT_EQ(p.rectPort.GetSubPort("z"), p.floatPort.GetSubPort(0));

    // A decimal point whatever the locale.
    if (setlocale(LC_ALL, "de_DE.UTF-8") || setlocale(LC_ALL, "fr_FR.UTF-8")) {
        p.floatPort.SetValue("0.75");
        EXPECT_EQ(p.floatPort.GetValue(), "0.75");
        setlocale(LC_ALL, "C");
    }
}

TEST(PortStorage, ValuePortsRoundTripAndBadValuesGiveDefaults)
{
    SPorts p;
    p.boolPort.SetValue("On");
    p.intPort.SetValue("7");
    p.floatPort.SetValue("-0.125");
    p.colorPort.SetValue("0.1 0.2 0.3 0.4");
    p.vectorPort.SetValue("-0.5 0 9.5");
    p.rectPort.SetValue("0.25 0.5 0.5 0.25");
    p.stringPort.SetValue("a <tag> & \"quote\"\nsecond line");
    for (CPort* port : std::initializer_list<CPort*>{&p.boolPort, &p.intPort, &p.floatPort, &p.colorPort,
                                                     &p.vectorPort, &p.rectPort, &p.stringPort}) {
        auto fresh = CPort::Clone(*port);
        fresh->SetValue(port == &p.stringPort ? "other" : "0");
        Load(*fresh, Stored(*port));
        EXPECT_EQ(fresh->GetValue(), port->GetValue()) << port->m_name;
    }
    EXPECT_EQ(Stored(p.boolPort), "<Port Value=\"true\"/>");
    EXPECT_EQ(Stored(p.rectPort), "<Port Value=\"0.25 0.5 0.5 0.25\"/>") << "x, y, width, height";
    CPortFloat big("Big", "", 1234567.0f, 1, 0, 1e9f);
    EXPECT_EQ(Stored(big), "<Port Value=\"1.23457e+06\"/>");
    CPortTexture texture("Texture", "never stored");
    EXPECT_EQ(Stored(texture), "<Port/>");

    SPorts bad;
    Load(bad.floatPort, "<Port Value=\"fast\"/>");
    EXPECT_EQ(bad.floatPort.m_value, 0.0f);
    CPortFloat outOfRange("Gain", "", 5.0f, 0.1f, 0.0f, 1.0f);
    Load(outOfRange, "<Port/>");
    EXPECT_EQ(outOfRange.m_value, 1.0f) << "a default outside its range is pulled in";
    Load(bad.intPort, "<Port Value=\"\"/>");
    EXPECT_EQ(bad.intPort.m_value, 1);
    Load(bad.colorPort, "<Port Value=\"0.5 0.5\"/>");
    EXPECT_EQ(bad.colorPort.GetValue(), "1 1 1 1");
    for (const char* element : {"<Port><Value></Value></Port>", "<Port/>", "<Port><Other>x</Other></Port>",
                                "<Port><Other/><Value>late</Value></Port>", "<Port>loose text</Port>"}) {
        Load(bad.stringPort, element);
        EXPECT_EQ(bad.stringPort.m_value, "default") << element;
    }
    Load(bad.stringPort, "<Port><Value>a<b>nested</b>c</Value><Value>second</Value></Port>");
    EXPECT_EQ(bad.stringPort.m_value, "ac");
}

TEST(PortStorage, DescriptionsCarryRangesAndChoiceNamesInNumberOrder)
{
    SPorts p;
    p.intPort.SetInput(true);
    EXPECT_EQ(Stored(p.intPort, true),
              "<Port Type=\"Int\" Name=\"Mode\" Desc=\"choice\" Input=\"1\" Value=\"1\" Min=\"-5\" Max=\"10\">"
              "<Values><Value Name=\"Three\" Value=\"3\"/><Value Name=\"Seven\" Value=\"7\"/>"
              "<Value Name=\"three\" Value=\"8\"/></Values></Port>");
    EXPECT_EQ(Stored(p.rectPort, true), "<Port Type=\"Rect\" Name=\"Area\" Desc=\"section\" Input=\"0\" "
                                        "Value=\"0 0 1 1\" Min=\"0 0 0 0\" Max=\"1 1 1 1\" Step=\"0.01 0.01 0.01 0.01\"/>");
}

namespace {

// A node holding one port, as the source or the reader of a connection.
struct SHolder
{
    explicit SHolder(std::unique_ptr<CPort> port, bool input = true)
    {
        port->SetInput(input);
        auto& ports = input ? node.m_inPorts : node.m_outPorts;
        ports.push_back(std::move(port));
        ports.back()->SetNode(&node);
        node.m_context = &context;
    }
    CPort& Port() { return input() ? *node.m_inPorts.back() : *node.m_outPorts.back(); }
    bool input() const { return !node.m_inPorts.empty(); }
    template <class T>
    T& As()
    {
        return static_cast<T&>(Port());
    }
    CNode node;
    CSceneContext context;
};

} // namespace

TEST(PortConnection, ValuesConvertAndFlagsFollowTheSource)
{
    SHolder floatOut(std::make_unique<CPortFloat>("Out", "", 0.0f, 0.1f, -100.0f, 100.0f), false);
    SHolder intOut(std::make_unique<CPortInt>("Out", "", 0, -100, 100), false);
    SHolder boolOut(std::make_unique<CPortBool>("Out", "", true), false);
    SHolder boolIn(std::make_unique<CPortBool>("In", "", false));
    SHolder intIn(std::make_unique<CPortInt>("In", "", 0, 0, 1));
    SHolder floatIn(std::make_unique<CPortFloat>("In", "", 0.0f, 0.1f, 0.0f, 1.0f));
    auto& f = floatOut.As<CPortFloat>().m_value;
    auto& i = intOut.As<CPortInt>().m_value;
    const struct
    {
        SHolder& reader;
        SHolder& source;
        std::function<void()> set;
        const char* expected;
    } cases[] = {
        {boolIn, floatOut, [&] { f = 0.5f; }, "On"},  {boolIn, floatOut, [&] { f = 0.49f; }, "Off"},
        {boolIn, intOut, [&] { i = -3; }, "On"},      {boolIn, intOut, [&] { i = 0; }, "Off"},
        {intIn, floatOut, [&] { f = -2.9f; }, "-2"}, // no clamping through a connection
        {intIn, floatOut, [&] { f = 1e30f; }, "2147483647"},
        {intIn, boolOut, [] {}, "1"},                 {floatIn, floatOut, [&] { f = 20.0f; }, "20"},
        {floatIn, intOut, [&] { i = -7; }, "-7"},     {floatIn, boolOut, [] {}, "1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "from " << PortTypeName(c.source.Port().m_type));
        c.reader.Port().Connect(&c.source.Port());
        c.set();
        c.reader.Port().Update(0.0f);
        EXPECT_EQ(c.reader.Port().GetValue(), c.expected);
    }

    intIn.Port().Connect(&floatOut.Port());
    floatIn.Port().Connect(&floatOut.Port());
    EXPECT_EQ(floatOut.Port().m_connections.size(), 2u);
    floatOut.Port().m_changed = false;
    intIn.Port().Update(0.0f);
    floatIn.Port().Update(0.0f);
    EXPECT_FALSE(floatIn.Port().m_changed) << "a connected float drops its flag with the source";
    EXPECT_TRUE(intIn.Port().m_changed) << "other ports only ever raise it";
}

TEST(PortConnection, DataPortsHoldNullWithoutConnectionAndRectSidesConnectAlone)
{
    SHolder meshOut(std::make_unique<CPortMesh>("Mesh", ""), false);
    SHolder meshIn(std::make_unique<CPortMesh>("Mesh", ""));
    auto* mesh = reinterpret_cast<CPDMesh*>(&meshOut);
    meshOut.As<CPortMesh>().m_value = mesh;
    meshIn.Port().Connect(&meshOut.Port());
    meshIn.Port().Update(0.0f);
    EXPECT_EQ(meshIn.As<CPortMesh>().m_value, mesh);
    meshIn.Port().Disconnect(nullptr);
    EXPECT_TRUE(meshOut.Port().m_connections.empty());
    meshIn.Port().Update(0.0f);
    EXPECT_EQ(meshIn.As<CPortMesh>().m_value, nullptr);

    SHolder floatOut(std::make_unique<CPortFloat>("Out", "", 0.75f, 0.1f, -1.0f, 1.0f), false);
    SHolder rectIn(std::make_unique<CPortRect>("Area", "", CPortRect::Ltrb{0, 0, 1, 1}, CPortRect::Ltrb{},
                                               CPortRect::Ltrb{}, CPortRect::Ltrb{1, 1, 2, 2}));
    auto& rect = rectIn.As<CPortRect>();
    EXPECT_EQ(rect.m_h.m_node, &rectIn.node);
    EXPECT_TRUE(rect.m_h.m_isInput);
    rect.m_h.Connect(&floatOut.Port());
    rect.ClearChanged();
    rect.Update(0.0f);
    EXPECT_EQ(rect.GetValue(), "0 0 1 0.75");
    EXPECT_TRUE(rect.m_changed);
}

TEST(PortClone, CopiesEverythingButConnectionsAndMarksChanged)
{
    SPorts p;
    SHolder source(std::make_unique<CPortInt>("Out", "", 0, 0, 1), false);
    p.intPort.Connect(&source.Port());
    p.intPort.m_changed = false;
    auto copy = CPort::Clone(p.intPort);
    EXPECT_TRUE(copy->m_changed);
    EXPECT_TRUE(copy->m_connections.empty());
    copy->SetValue("Seven");
    EXPECT_EQ(copy->GetValue(), "7");
    static_cast<CPortInt&>(*copy).AddValue(9, "Nine");
    EXPECT_EQ(p.intPort.m_names->size(), 3u);

    CPortTexture texture("Texture", "");
    texture.m_texture = std::shared_ptr<CTexture>(reinterpret_cast<CTexture*>(&texture), [](CTexture*) {});
    EXPECT_EQ(static_cast<CPortTexture&>(*CPort::Clone(texture)).m_texture, nullptr);
    p.boolPort.m_type = 42;
    EXPECT_EQ(CPort::Clone(p.boolPort), nullptr);
}
