#include "app/textutil.h"

#include <QString>

#include <gtest/gtest.h>

TEST(TextUtil, SlashesCaseAndQtConversions)
{
    EXPECT_EQ(WithSlashes("[apppath]scenes\\demo\\a.lmc"), "[apppath]scenes/demo/a.lmc");

    struct SCase
    {
        const char* a;
        const char* b;
        bool equal;
    };
    for (const SCase& c : {SCase{"Wrap", "wrap", true}, SCase{"ONE", "one", true}, SCase{"on", "one", false},
                           SCase{"", "", true}, SCase{"a_1", "A_1", true}, SCase{"a", "b", false},
                           // Beyond ASCII through Qt's folding.
                           SCase{"Ärger.png", "äRGER.PNG", true}, SCase{"Ärger", "Arger", false}}) {
        SCOPED_TRACE(std::string(c.a) + " / " + c.b);
        EXPECT_EQ(EqualNoCase(c.a, c.b), c.equal);
    }
    EXPECT_EQ(AsciiUpper("sv_Position0ä"), "SV_POSITION0ä");
    EXPECT_EQ(AsciiLower("PS_3_0"), "ps_3_0");

    const std::string text = "Grüße, 東京";
    EXPECT_EQ(ToQt(text), QStringLiteral(u"Grüße, 東京"));
    EXPECT_EQ(ToStd(ToQt(text)), text);
    EXPECT_EQ(ToQt(std::string_view("ab\0c", 4)).size(), 4);
}
