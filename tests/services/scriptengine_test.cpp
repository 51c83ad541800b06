// The command interpreter on its own: how request texts are cut into
// commands, how failures and malformed texts are answered, and whose answer
// goes to whom.

#include "services/scriptengine.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

std::string Compact(const std::string& text)
{
    return std::regex_replace(text, std::regex("\n *"), "");
}

// Answers with the command's "Say" attribute, or fails with it when "Fail" is set.
SCommandResult Echo(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    ++*static_cast<int*>(context);
    if (request.Bool("Fail"))
        return SCommandResult::Fail(request.Text("Say"));
    request.Begin("Echoed");
    request.Attribute("Say", request.Text("Say"));
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

class ScriptEngineTest : public ::testing::Test
{
protected:
    ScriptEngineTest() : m_engine(CScriptEngine::Get()) { m_engine->AddCommand("Echo", Echo, &m_calls); }
    ~ScriptEngineTest() override
    {
        m_engine->RemoveCommands(&m_calls);
        m_engine->Release();
    }
    std::string Ask(const std::string& text)
    {
        m_engine->AddCommands(text);
        m_engine->Run();
        return Compact(m_engine->GetResults());
    }

    CScriptEngine* m_engine;
    int m_calls = 0;
};

} // namespace

TEST_F(ScriptEngineTest, RequestsAreCutIntoCommandsAndAnsweredInOrder)
{
    struct SRow
    {
        const char* text;
        const char* answer;
    };
    const SRow rows[] = {
        {"<lms/>", "<lms></lms>"},
        {"<lms></lms> trailing <junk", "<lms></lms>"},
        // The wrapper's name is not looked at.
        {"<any><Echo Say=\"a\"/></any>", "<lms><Echoed Say=\"a\"/></lms>"},
        {"<lms><Echo Say=\"1\"/><Echo Say=\"2\" Fail=\"1\"/><Echo Say=\"3\"/></lms>",
         "<lms><Echoed Say=\"1\"/><Echo Error=\"2\"/><Echoed Say=\"3\"/></lms>"},
        {"<lms><Echo Say=\"tab\\@here\"/></lms>", "<lms><Echoed Say=\"tab&#9;here\"/></lms>"},
        {"<lms><Echo Say=\"&lt;é&gt;\"><Child/></Echo><Nope/></lms>",
         "<lms><Echoed Say=\"&lt;é&gt;\"/><Nope Error=\"Unknown command\"/></lms>"},
    };
    for (const SRow& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Ask(row.text), row.answer);
    }
}

TEST_F(ScriptEngineTest, MalformedTextsGetAnErrorAfterWhatCameBefore)
{
    const char* texts[] = {"", "not xml", "<lms><Echo Say=\"1\"/><Echo Say=", "<lms><Echo></lms>"};
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        const std::string answer = Ask(text);
        EXPECT_TRUE(std::regex_match(answer, std::regex("<lms>(<Echoed Say=\"1\"/>)?<Request Error=\"Malformed "
                                                        "XML: .* \\(line \\d+, column \\d+\\)\"/></lms>")))
            << answer;
    }
}

TEST_F(ScriptEngineTest, EachOriginTakesItsOwnAnswersAndReportsGoWithTheNext)
{
    m_engine->AddCommands("<lms><Echo Say=\"a1\"/></lms>", 1);
    m_engine->AddCommands("<lms><Echo Say=\"b\"/></lms>", 2);
    m_engine->AddCommands("<lms><Echo Say=\"a2\"/></lms>", 1);
    EXPECT_FALSE(m_engine->TakeAnswer(1).has_value());
    m_engine->AddResult("<Report/>");
    m_engine->Run();
    EXPECT_EQ(Compact(*m_engine->TakeAnswer(2)), "<lms><Report/><Echoed Say=\"b\"/></lms>");
    EXPECT_EQ(Compact(*m_engine->TakeAnswer(1)), "<lms><Echoed Say=\"a1\"/></lms>");
    EXPECT_EQ(Compact(*m_engine->TakeAnswer(1)), "<lms><Echoed Say=\"a2\"/></lms>");
    EXPECT_FALSE(m_engine->TakeAnswer(1).has_value());

    // A client that has gone leaves nothing behind, not even later answers.
    m_engine->AddCommands("<lms><Echo Say=\"c\"/></lms>", 3);
    m_engine->ForgetOrigin(3);
    m_engine->Run();
    EXPECT_EQ(m_engine->GetResults(), "<lms></lms>");
    EXPECT_EQ(m_calls, 3);
}

TEST_F(ScriptEngineTest, ABudgetLeavesTheRestForTheNextRun)
{
    std::string flood = "<lms>";
    for (int i = 0; i < 20000; ++i)
        flood += "<Echo Say=\"x\"/>";
    m_engine->AddCommands(flood + "</lms>");
    m_engine->Run(1.0);
    EXPECT_GT(m_calls, 0);
    EXPECT_LT(m_calls, 20000);
    while (m_engine->PendingCount() > 0)
        m_engine->Run(1.0);
    EXPECT_EQ(m_calls, 20000);
}
