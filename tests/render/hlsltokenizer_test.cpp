#include "render/hlsltokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Tokens as "kind:text", with the line where it differs from 1.
std::vector<std::string> Tokens(std::string_view code)
{
    std::vector<std::string> out;
    CHlslTokenizer tokenizer(code, "a.fx");
    for (SHlslToken t = tokenizer.Next(); t.kind != EHlslToken::End; t = tokenizer.Next()) {
        const char* kinds[] = {"", "id", "num", "str", "p"};
        std::string text = kinds[static_cast<int>(t.kind)];
        text.append(":").append(t.text);
        if (t.line != 1 || t.file != "a.fx")
            text.append("@").append(t.file).append(":").append(std::to_string(t.line));
        out.push_back(text);
    }
    return out;
}

} // namespace

TEST(HlslTokenizer, SplitsNumbersNamesStringsAndFollowsLines)
{
    struct SCase
    {
        const char* code;
        std::vector<std::string> tokens;
    };
    const SCase cases[] = {
        {"1. .5 1e-3 2.0f 0x1F 7u 1.5E+2h", {"num:1.", "num:.5", "num:1e-3", "num:2.0f", "num:0x1F", "num:7u", "num:1.5E+2h"}},
        {"a.xy-1", {"id:a", "p:.", "id:xy", "p:-", "num:1"}},
        {"0x1E+5 1e+x", {"num:0x1E", "p:+", "num:5", "num:1e+x"}},
        {"x=1.5.5;", {"id:x", "p:=", "num:1.5.5", "p:;"}},
        {"s = \"a\\\"b\" // c\n/* d\n */ t", {"id:s", "p:=", "str:\"a\\\"b\"", "id:t@a.fx:3"}},
        {"#define A \\\n  1\nb #x\n  #line 40 \"b.h\"\nc\n#pragma once\nd",
         {"id:b@a.fx:3", "p:#@a.fx:3", "id:x@a.fx:3", "id:c@b.h:40", "id:d@b.h:42"}},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_EQ(Tokens(c.code), c.tokens);
    }

    struct SValue
    {
        const char* token;
        bool good;
        double value;
    };
    const SValue values[] = {
        {"1.", true, 1},     {".5", true, 0.5},    {"1e-3", true, 0.001}, {"2.0f", true, 2},  {"0x1F", true, 31},
        {"0x10u", true, 16}, {"1.5h", true, 1.5},  {"08", true, 8},       {"1.5.5", false, 0}, {"2x", false, 0},
        {"1e", false, 0},    {"1e+x", false, 0}, {"inf", false, 0},     {"0x", false, 0},
    };
    for (const SValue& v : values) {
        SCOPED_TRACE(v.token);
        double value = -1;
        EXPECT_EQ(HlslNumberValue(v.token, value), v.good);
        if (v.good) {
            EXPECT_DOUBLE_EQ(value, v.value);
        }
    }
}
