#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "scene/node.h"
#include "scene/scenecontext.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <clocale>
#include <gtest/gtest.h>

namespace {

CPortBool MakeBool() { return CPortBool("Enabled", "on or off", false); }
CPortInt MakeInt()
{
    CPortInt port("Mode", "choice", 1, -5, 10);
    port.AddValue(3, "Three");
    port.AddValue(7, "Seven");
    port.AddValue(8, "three"); // a later number with the same name loses
    return port;
}
CPortFloat MakeFloat() { return CPortFloat("Speed", "how fast", 0.5f, 0.01f, -2.0f, 2.0f); }
CPortColor MakeColor() { return CPortColor("Color", "tint", {1, 1, 1, 1}, {0, 0, 0, 0}, {1, 1, 1, 1}); }
CPortVector MakeVector() { return CPortVector("Pos", "where", {0, 0, 0}, {0.1f, 0.1f, 0.1f}, {-1, -1, -1}, {1, 1, 10}); }
CPortRect MakeRect() { return CPortRect("Area", "section", {0, 0, 1, 1}, {0.01f, 0.01f, 0.02f, 0.02f}, {0, 0, 0, 0}, {1, 1, 2, 2}); }
CPortString MakeString() { return CPortString("Text", "words", "default"); }

std::string Stored(CPort& port, bool describe = false)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartElement("Port");
    port.Serialize(&writer, describe);
    writer.writeEndElement();
    return xml.toStdString();
}

// Reads a stored "Port" element into `port`; checks the reader ends on the
// element's end or start and can go on with what follows.
void Load(CPort& port, const std::string& element)
{
    QXmlStreamReader reader(QByteArray::fromStdString("<Node>" + element + "<Next/></Node>"));
    reader.readNextStartElement();
    ASSERT_TRUE(reader.readNextStartElement());
    port.Deserialize(&reader);
    if (!reader.isEndElement())
        reader.skipCurrentElement();
    ASSERT_TRUE(reader.readNextStartElement());
    EXPECT_EQ(reader.name(), u"Next");
}

} // namespace

TEST(PortText, ValuesTurnIntoTextAndBack)
{
    struct Case
    {
        CPort* port;
        const char* text;
        const char* value;
    };
    auto boolPort = MakeBool();
    auto intPort = MakeInt();
    auto floatPort = MakeFloat();
    auto colorPort = MakeColor();
    auto vectorPort = MakeVector();
    auto rectPort = MakeRect();
    auto stringPort = MakeString();
    CPortMesh meshPort("Mesh", "mesh");
    const Case cases[] = {
        {&boolPort, "TRUE", "On"},         {&boolPort, "Off", "Off"},        {&boolPort, "on", "On"},
        {&boolPort, "2", "Off"},           {&boolPort, "1", "On"},           {&boolPort, "yes", "Off"},
        {&intPort, "SEVEN", "7"},          {&intPort, "three", "3"},         {&intPort, "4", "4"},
        {&intPort, "99", "10"},            {&intPort, "-99", "-5"},          {&intPort, "junk", "0"},
        {&intPort, "6abc", "6"},           {&floatPort, "1.25", "1.25"},     {&floatPort, "7", "2"},
        {&floatPort, "-1e9", "-2"},        {&floatPort, "abc", "0"},         {&floatPort, "nan", "0"},
        {&colorPort, "0.5 0.25 2 -1", "0.5 0.25 1 0"},                        {&colorPort, "1 0.5 0.25", "0.5 0.25 1 0"},
        {&vectorPort, "0.5 -3 5", "0.5 -1 5"},                                {&vectorPort, "1 2", "0.5 -1 5"},
        {&rectPort, "0.1 0.2 0.5 3", "0.1 0.2 0.5 1"},                        {&rectPort, "x", "0.1 0.2 0.5 1"},
        {&stringPort, " as is ", " as is "},                                  {&meshPort, "anything", "<Missing>"},
    };
    for (const Case& c : cases) {
        c.port->SetValue(c.text);
        EXPECT_EQ(c.port->GetValue(), c.value) << c.port->m_name << " <- \"" << c.text << "\"";
    }

    // Text is read and written with a decimal point whatever the locale.
    if (setlocale(LC_ALL, "de_DE.UTF-8") || setlocale(LC_ALL, "fr_FR.UTF-8")) {
        floatPort.SetValue("1.5");
        EXPECT_EQ(floatPort.GetValue(), "1.5");
        setlocale(LC_ALL, "C");
    }
}

TEST(PortText, ComponentsAndSubPorts)
{
    auto vectorPort = MakeVector();
    vectorPort.SetValue("0.25 0.5 0.75");
    EXPECT_EQ(vectorPort.GetComponent("Y"), "0.5");
    EXPECT_EQ(vectorPort.GetComponent("w"), "");
    vectorPort.SetComponent("z", "20");
    vectorPort.SetComponent("x", "not a number");
    vectorPort.SetComponent("q", "0.1");
    EXPECT_EQ(vectorPort.GetValue(), "0.25 0.5 10");

    // Other ports treat a component as the whole value.
    auto floatPort = MakeFloat();
    floatPort.SetComponent("x", "1.5");
    EXPECT_EQ(floatPort.GetComponent("y"), "1.5");
    EXPECT_EQ(floatPort.GetSubPort(0), nullptr);

    // Width and height are differences of the declared rectangles.
    auto rect = MakeRect();
    EXPECT_EQ(rect.m_subPorts, 4);
    auto* w = static_cast<CPortFloat*>(rect.GetSubPort("W"));
    ASSERT_EQ(w, rect.GetSubPort(2));
    EXPECT_EQ(w->m_name, "Area.w");
    EXPECT_EQ(w->m_desc, "section(width)");
    EXPECT_FLOAT_EQ(w->m_value, 1.0f);
    EXPECT_FLOAT_EQ(w->m_step, 0.01f);
    EXPECT_FLOAT_EQ(w->m_min, 0.0f);
    EXPECT_FLOAT_EQ(w->m_max, 1.0f);
    EXPECT_EQ(rect.GetSubPort("z"), nullptr);
    EXPECT_EQ(rect.GetSubPort(4), nullptr);
    EXPECT_EQ(rect.GetValue(), "0 0 1 1");
}

TEST(PortStorage, EveryValuePortRoundTrips)
{
    auto boolPort = MakeBool();
    auto intPort = MakeInt();
    auto floatPort = MakeFloat();
    auto colorPort = MakeColor();
    auto vectorPort = MakeVector();
    auto rectPort = MakeRect();
    auto stringPort = MakeString();
    boolPort.SetValue("On");
    intPort.SetValue("7");
    floatPort.SetValue("-0.125");
    colorPort.SetValue("0.1 0.2 0.3 0.4");
    vectorPort.SetValue("-0.5 0 9.5");
    rectPort.SetValue("0.25 0.5 0.5 0.25");
    stringPort.SetValue("a <tag> & \"quote\"\nsecond line");

    for (CPort* port : std::initializer_list<CPort*>{&boolPort, &intPort, &floatPort, &colorPort, &vectorPort,
                                                     &rectPort, &stringPort}) {
        auto fresh = CPort::Clone(*port);
        fresh->SetValue(port == &stringPort ? "other" : "0");
        Load(*fresh, Stored(*port));
        EXPECT_EQ(fresh->GetValue(), port->GetValue()) << port->m_name;
    }

    EXPECT_EQ(Stored(boolPort), "<Port Value=\"true\"/>");
    EXPECT_EQ(Stored(rectPort), "<Port Value=\"0.25 0.5 0.5 0.25\"/>") << "x, y, width, height";
    EXPECT_EQ(Stored(stringPort), "<Port><Value>a &lt;tag&gt; &amp; &quot;quote&quot;\nsecond line</Value></Port>");
    CPortFloat big("Big", "", 1234567.0f, 1, 0, 1e9f);
    EXPECT_EQ(Stored(big), "<Port Value=\"1.23457e+06\"/>");
    CPortTexture texture("Texture", "never stored");
    EXPECT_EQ(Stored(texture), "<Port/>");
}

TEST(PortStorage, BadOrMissingValuesGiveTheDefaults)
{
    auto floatPort = MakeFloat();
    Load(floatPort, "<Port Value=\"fast\"/>");
    EXPECT_FLOAT_EQ(floatPort.m_value, 0.0f);
    CPortFloat outOfRange("Gain", "", 5.0f, 0.1f, 0.0f, 1.0f);
    Load(outOfRange, "<Port/>");
    EXPECT_FLOAT_EQ(outOfRange.m_value, 1.0f) << "a default outside its range is pulled in";

    auto intPort = MakeInt();
    Load(intPort, "<Port Value=\"\"/>");
    EXPECT_EQ(intPort.m_value, 1);
    Load(intPort, "<Port Value=\"many\"/>");
    EXPECT_EQ(intPort.m_value, 0);

    auto boolPort = MakeBool();
    Load(boolPort, "<Port Val=\"true\"/>");
    EXPECT_FALSE(boolPort.m_value);

    auto colorPort = MakeColor();
    Load(colorPort, "<Port Value=\"0.5 0.5\"/>");
    EXPECT_EQ(colorPort.GetValue(), "1 1 1 1");

    auto stringPort = MakeString();
    const char* keepDefault[] = {"<Port><Value></Value></Port>", "<Port/>", "<Port><Other>x</Other></Port>",
                                 "<Port><Other/><Value>late</Value></Port>", "<Port>loose text</Port>"};
    for (const char* element : keepDefault) {
        Load(stringPort, element);
        EXPECT_EQ(stringPort.m_value, "default") << element;
    }
    Load(stringPort, "<Port><Value>a<b>nested</b>c</Value><Value>second</Value></Port>");
    EXPECT_EQ(stringPort.m_value, "ac");
}

TEST(PortStorage, DescriptionsCarryRangesAndChoiceNamesInNumberOrder)
{
    auto intPort = MakeInt();
    intPort.m_isInput = true;
    EXPECT_EQ(Stored(intPort, true),
              "<Port Type=\"Int\" Name=\"Mode\" Desc=\"choice\" Input=\"1\" Value=\"1\" Min=\"-5\" Max=\"10\">"
              "<Values><Value Name=\"Three\" Value=\"3\"/><Value Name=\"Seven\" Value=\"7\"/>"
              "<Value Name=\"three\" Value=\"8\"/></Values></Port>");
    auto floatPort = MakeFloat();
    EXPECT_EQ(Stored(floatPort, true), "<Port Type=\"Float\" Name=\"Speed\" Desc=\"how fast\" Input=\"0\" "
                                       "Value=\"0.5\" Min=\"-2\" Max=\"2\" Step=\"0.01\"/>");
    auto colorPort = MakeColor();
    EXPECT_EQ(Stored(colorPort, true), "<Port Type=\"Color\" Name=\"Color\" Desc=\"tint\" Input=\"0\" "
                                       "Min=\"0 0 0 0\" Max=\"1 1 1 1\" Value=\"1 1 1 1\"/>");
    auto rectPort = MakeRect();
    EXPECT_EQ(Stored(rectPort, true), "<Port Type=\"Rect\" Name=\"Area\" Desc=\"section\" Input=\"0\" "
                                      "Value=\"0 0 1 1\" Min=\"0 0 0 0\" Max=\"1 1 1 1\" Step=\"0.01 0.01 0.01 0.01\"/>");
    auto stringPort = MakeString();
    EXPECT_EQ(Stored(stringPort, true),
              "<Port Type=\"String\" Name=\"Text\" Desc=\"words\" Input=\"0\"><Value>default</Value></Port>");
    CPortObject object("Object", "drawn");
    EXPECT_EQ(Stored(object, true), "<Port Type=\"Object\" Name=\"Object\" Desc=\"drawn\" Input=\"0\"/>");
}

namespace {

// A node that owns one output port of a given kind, for connection tests.
struct SSource
{
    explicit SSource(std::unique_ptr<CPort> port)
    {
        node.m_outPorts.push_back(std::move(port));
        node.m_outPorts.back()->SetNode(&node);
    }
    CPort& Out() { return *node.m_outPorts.back(); }
    template <class T>
    T& As()
    {
        return static_cast<T&>(Out());
    }
    CNode node;
};

struct SSink
{
    explicit SSink(std::unique_ptr<CPort> port)
    {
        port->SetInput(true);
        node.m_inPorts.push_back(std::move(port));
        node.m_inPorts.back()->SetNode(&node);
        node.m_context = &context;
    }
    template <class T>
    T& In()
    {
        return static_cast<T&>(*node.m_inPorts.back());
    }
    CNode node;
    CSceneContext context;
};

} // namespace

TEST(PortConnection, ValuesConvertBetweenBoolIntAndFloat)
{
    SSource floatSource(std::make_unique<CPortFloat>("Out", "", 0.0f, 0.1f, -100.0f, 100.0f));
    SSource intSource(std::make_unique<CPortInt>("Out", "", 0, -100, 100));
    SSource boolSource(std::make_unique<CPortBool>("Out", "", true));
    SSink boolSink(std::make_unique<CPortBool>("In", "", false));
    SSink intSink(std::make_unique<CPortInt>("In", "", 0, 0, 1));
    SSink floatSink(std::make_unique<CPortFloat>("In", "", 0.0f, 0.1f, 0.0f, 1.0f));
    auto& f = floatSource.As<CPortFloat>();
    auto& i = intSource.As<CPortInt>();

    struct Case
    {
        CPort* sink;
        CPort* source;
        std::function<void()> set;
        const char* expected;
    };
    const Case cases[] = {
        {&boolSink.In<CPort>(), &f, [&] { f.m_value = 0.5f; }, "On"},
        {&boolSink.In<CPort>(), &f, [&] { f.m_value = 0.49f; }, "Off"},
        {&boolSink.In<CPort>(), &i, [&] { i.m_value = -3; }, "On"},
        {&boolSink.In<CPort>(), &i, [&] { i.m_value = 0; }, "Off"},
        {&intSink.In<CPort>(), &f, [&] { f.m_value = -2.9f; }, "-2"}, // no clamping through a connection
        {&intSink.In<CPort>(), &f, [&] { f.m_value = 1e30f; }, "2147483647"},
        {&intSink.In<CPort>(), &boolSource.Out(), [] {}, "1"},
        {&floatSink.In<CPort>(), &f, [&] { f.m_value = 20.0f; }, "20"},
        {&floatSink.In<CPort>(), &i, [&] { i.m_value = -7; }, "-7"},
        {&floatSink.In<CPort>(), &boolSource.Out(), [] {}, "1"},
    };
    for (const Case& c : cases) {
        c.sink->Connect(c.source);
        c.set();
        c.sink->Update(0.0f);
        EXPECT_EQ(c.sink->GetValue(), c.expected) << c.sink->m_name << " from " << PortTypeName(c.source->m_type);
    }
}

TEST(PortConnection, ChangeFlagsFollowTheSource)
{
    SSource source(std::make_unique<CPortFloat>("Out", "", 0.0f, 0.1f, -1.0f, 1.0f));
    SSink floatSink(std::make_unique<CPortFloat>("In", "", 0.0f, 0.1f, 0.0f, 1.0f));
    SSink intSink(std::make_unique<CPortInt>("In", "", 0, 0, 1));
    floatSink.In<CPort>().Connect(&source.Out());
    intSink.In<CPort>().Connect(&source.Out());
    EXPECT_EQ(source.Out().m_connections.size(), 2u);

    source.Out().m_changed = false;
    floatSink.In<CPort>().Update(0.0f);
    intSink.In<CPort>().Update(0.0f);
    EXPECT_FALSE(floatSink.In<CPort>().m_changed) << "a connected float drops its flag with the source";
    EXPECT_TRUE(intSink.In<CPort>().m_changed) << "other ports only ever raise it";

    // Without a connection a data port holds null, a value port its value.
    SSource meshSource(std::make_unique<CPortMesh>("Mesh", ""));
    SSink meshSink(std::make_unique<CPortMesh>("Mesh", ""));
    auto* fakeMesh = reinterpret_cast<CPDMesh*>(&meshSource);
    meshSource.As<CPortMesh>().m_value = fakeMesh;
    meshSink.In<CPort>().Connect(&meshSource.Out());
    meshSink.In<CPort>().Update(0.0f);
    EXPECT_EQ(meshSink.In<CPortMesh>().m_value, fakeMesh);
    meshSink.In<CPort>().Disconnect(nullptr);
    EXPECT_TRUE(meshSource.Out().m_connections.empty());
    meshSink.In<CPort>().Update(0.0f);
    EXPECT_EQ(meshSink.In<CPortMesh>().m_value, nullptr);
}

TEST(PortConnection, RectSidesReadTheirOwnConnections)
{
    SSource source(std::make_unique<CPortFloat>("Out", "", 0.75f, 0.1f, -1.0f, 1.0f));
    SSink sink(std::make_unique<CPortRect>("Area", "", CPortRect::Ltrb{0, 0, 1, 1}, CPortRect::Ltrb{},
                                           CPortRect::Ltrb{0, 0, 0, 0}, CPortRect::Ltrb{1, 1, 2, 2}));
    auto& rect = sink.In<CPortRect>();
    EXPECT_EQ(rect.m_h.m_node, &sink.node);
    EXPECT_TRUE(rect.m_h.m_isInput);
    rect.m_h.Connect(&source.Out());
    rect.ClearChanged();
    EXPECT_FALSE(rect.m_h.m_changed);
    rect.Update(0.0f);
    EXPECT_EQ(rect.GetValue(), "0 0 1 0.75");
    EXPECT_TRUE(rect.m_changed);
}

TEST(PortClone, CopiesEverythingButConnectionsAndMarksChanged)
{
    auto intPort = MakeInt();
    SSource source(std::make_unique<CPortInt>("Out", "", 0, 0, 1));
    intPort.Connect(&source.Out());
    intPort.m_changed = false;
    auto copy = CPort::Clone(intPort);
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(copy->m_changed);
    EXPECT_TRUE(copy->m_connections.empty());
    copy->SetValue("Seven");
    EXPECT_EQ(copy->GetValue(), "7");
    static_cast<CPortInt&>(*copy).AddValue(9, "Nine");
    EXPECT_EQ(intPort.m_names->size(), 3u);
    intPort.Disconnect(nullptr);

    CPortTexture texture("Texture", "");
    texture.m_texture = std::shared_ptr<CTexture>(reinterpret_cast<CTexture*>(&texture), [](CTexture*) {});
    auto textureCopy = CPort::Clone(texture);
    EXPECT_EQ(static_cast<CPortTexture&>(*textureCopy).m_texture, nullptr);

    CPortBool none("x", "", false);
    none.m_type = 42;
    EXPECT_EQ(CPort::Clone(none), nullptr);
}
