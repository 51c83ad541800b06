// The engine's functions through an expression context: the sound functions
// with and without music, the clock, random numbers and the conveniences,
// with their edges and the order in which they evaluate their arguments.

#include "expression/expressioncontext.h"
#include "expression/musicfixture.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <iterator>
#include <string>
#include <vector>

namespace {

struct Case
{
    const char* text;
    double expected;
};

// Parses and evaluates each text; the context must stay valid.
void ExpectCases(CExpressionContext& context, std::initializer_list<Case> cases, double tolerance = 1e-6)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        context.Parse(c.text);
        EXPECT_NEAR(context.Evaluate(), c.expected, tolerance);
        EXPECT_TRUE(context.IsValid());
    }
}

using M = CMusicFixture;

} // namespace

TEST(SoundFunctions, ReadTheAnalysisWhileMusicPlays)
{
    CMusicFixture music;
    CExpressionContext context;
    ExpectCases(context, {
        {"beat(0.5)", 0.75}, {"band(1, 0, 2)", M::Band(1, 0, 2)}, {"band(0, 1, 1)", M::Band(0, 1, 1)},
        {"band(1, 2, 0)", M::Band(1, 2, 0)}, {"band(0, 3, 2)", M::Band(0, 3, 2)},
        // Any kind but 1 to 3 is the immediate value; arguments are truncated.
        {"band(1, 7, 1)", M::Band(1, 0, 1)}, {"band(0.9, 1.99, 2.5, 0.25)", M::Band(0, 1, 2)},
        {"band(0-1, 2, 1)", (M::Band(0, 2, 1) + M::Band(1, 2, 1)) / 2},
        {"band(0, 0, 3)", 0}, {"band(2, 0, 0)", 0}, {"band(0-2, 0, 0)", 0}, {"band(0, 0, 0-1)", 0},
        {"waveform(0, 0.5)", M::Wave(0, 0.5f)}, {"waveform(1, 0.25, 9)", M::Wave(1, 0.25f)},
        {"waveform(0-1, 1)", (M::Wave(0, 1) + M::Wave(1, 1)) / 2}, {"waveform(0, 2.5)", M::Wave(0, 1)},
        {"spectrum(0, 0.5)", M::Spectrum1(0, 0.5f)}, {"spectrum(1, 0.25, 9)", M::Spectrum1(1, 0.25f)},
        {"spectrum(1, 0.5, 9, 0, 0)", 0.25},
        // A width makes a mean over the bins it covers.
        {"spectrum(0, 0, 9, 1)", M::Spectrum1(0, 0.5f)}, {"spectrum(0-1, 0, 9, 1, 0)", 0.375},
        // The fallback isn't evaluated.
        {"beat(1/0)", 0.75}, {"band(0, 0, 0, 1/0)", M::Band(0, 0, 0)},
    });
}

TEST(SoundFunctions, GiveTheirFallbackWithoutMusicAndEvaluateNothingElse)
{
    CMusicFixture music;
    CExpressionContext context;
    const std::initializer_list<Case> silent = {
        {"beat(0.5)", 0.5}, {"beat()", 0}, {"band(0, 0, 0, 0.25)", 0.25}, {"band(0, 0, 0)", 0},
        {"waveform(0, 0.5, 0.3)", 0.3}, {"spectrum(0, 0.5, 0.7)", 0.7}, {"spectrum(0, 0.5)", 0},
        {"band(1/0, 1/0, 1/0, 0.25)", 0.25}, {"spectrum(1/0, 1/0, 0.5, 1/0, 1/0)", 0.5},
    };
    // Silence; no capture; no sound object at all.
    music.SetMusic(false);
    ExpectCases(context, silent);
    music.SetMusic(true);
    music.m_analyzer.m_captureEnabled = false;
    ExpectCases(context, silent);
    g_soundAnalyzer = nullptr;
    ExpectCases(context, silent);
}

TEST(SoundFunctions, FollowARealAnalysis)
{
    // A block of 800 Hz on the left (the bass band) and 8 kHz on the right
    // (treble), then a block of silence.
    CMusicFixture music;
    CSoundAnalyzer& analyzer = music.m_analyzer;
    analyzer.m_blocks = analyzer.m_bins = 0;
    std::vector<float> block(CSoundAnalyzer::BlockFloats);
    for (int i = 0; i < CSoundAnalyzer::BlockFrames; ++i) {
        block[size_t(2 * i)] = 0.8f * std::sin(6.2831855f * 800.0f * float(i) / 44100.0f);
        block[size_t(2 * i + 1)] = 0.8f * std::sin(6.2831855f * 8000.0f * float(i) / 44100.0f);
    }
    analyzer.ProcessSamples(CSoundAnalyzer::BlockFrames, block.data());
    CExpressionContext context;
    ExpectCases(context, {
        {"above(band(0, 0, 0), 4 * band(0, 0, 2))", 1}, {"above(band(1, 0, 2), 4 * band(1, 0, 0))", 1},
        {"above(beat(), 0.01)", 1}, {"above(spectrum(0, 0.073, 9, 0, 0), 100 * spectrum(1, 0.073, 9, 0, 0))", 1},
    });
    std::fill(block.begin(), block.end(), 0.0f);
    analyzer.ProcessSamples(CSoundAnalyzer::BlockFrames, block.data());
    ExpectCases(context, {{"beat(0.5)", 0}, {"band(0, 0, 0, 0.5)", 0}, {"waveform(1, 0.3)", 0}});
}

TEST(EngineFunctions, EvaluateTheirArgumentsInTheirOwnOrder)
{
    CMusicFixture music;
    CExpressionContext context;
    // Each argument appends its digit to n.
    ExpectCases(context, {
        {"n=0; band((n=n*10+1)*0, (n=n*10+2)*0, (n=n*10+3)*0); n", 123},
        {"n=0; waveform((n=n*10+1)*0, (n=n*10+2)*0); n", 21},
        {"n=0; spectrum((n=n*10+1)*0, (n=n*10+2)*0, 0, (n=n*10+4)*0, (n=n*10+5)*0); n", 4521},
        {"n=0; noise3((n=n*10+1)*0, (n=n*10+2)*0, (n=n*10+3)*0); n", 321},
        {"n=0; random((n=n*10+1)*0, (n=n*10+2)*0); n", 21},
        {"n=0; smoothstep((n=n*10+1)*0, (n=n*10+2)*0, (n=n*10+3)*0); n", 123},
        // length evaluates every argument twice: a, a, b, b.
        {"n=0; length(n=n*10+1, n=n*10+2); n", 1122},
        {"n=0; length(n=n+1, n=n*10)", std::sqrt(1.0 * 2.0 + 20.0 * 200.0)},
        // random with one argument doesn't look at it.
        {"n=0; random(n=5); n", 0},
    }, 0);
}

TEST(EngineFunctions, ConveniencesAndTheClock)
{
    CExpressionContext context;
    ExpectCases(context, {
        {"smoothstep(0, 1, 0.5)", 0.5}, {"smoothstep(0, 2, 0.5)", 0.15625}, {"smoothstep(0, 1, 0-1)", 0},
        {"smoothstep(0, 1, 2)", 1}, {"smoothstep(0, 1, 0)", 0},
        // Below lo is tested before above hi; a step of no width is taken at x.
        {"smoothstep(1, 0, 0.5)", 0}, {"smoothstep(1, 0, 2)", 1}, {"smoothstep(1, 1, 1)", 1},
        {"length(3, 4)", 5}, {"length(1, 2, 2)", 3}, {"pow(2, 10)", 1024}, {"noise1(0)", 0},
        {"time(4)", 0}, {"time(0-1)", 0}, {"time(0.5)", 0}, {"date(4)", 0}, {"date(0.001)", 0},
    });
    // pow has no error test: NaN goes on.
    context.Parse("pow(0-8, 0.5)");
    EXPECT_TRUE(std::isnan(context.Evaluate()));
    EXPECT_TRUE(context.IsValid());

    auto now = [] {
        std::time_t seconds = std::time(nullptr);
        std::tm fields{};
        localtime_r(&seconds, &fields);
        return fields;
    };
    const char* texts[] = {"time(0)", "time(0.000001)", "time(1)", "date(0)", "date(1)", "date(2)", "date(3)"};
    const std::tm before = now();
    double values[std::size(texts)];
    for (size_t i = 0; i < std::size(texts); ++i) {
        context.Parse(texts[i]);
        values[i] = context.Evaluate();
    }
    const std::tm after = now();
    // The clock may tick over between the readings: either side counts.
    const int fields[][2] = {{before.tm_hour, after.tm_hour}, {before.tm_hour, after.tm_hour},
                             {before.tm_min, after.tm_min}, {before.tm_year + 1900, after.tm_year + 1900},
                             {before.tm_mon + 1, after.tm_mon + 1}, {before.tm_mday, after.tm_mday},
                             {before.tm_wday, after.tm_wday}};
    for (size_t i = 0; i < std::size(texts); ++i)
        EXPECT_TRUE(values[i] == fields[i][0] || values[i] == fields[i][1]) << texts[i] << " = " << values[i];
}

TEST(RandomFunctions, HashAValueOrStepAVariable)
{
    // The hash step, worked out in 64 bits and reduced.
    auto hash = [](int64_t seed, int64_t increment, double* next = nullptr) {
        const uint64_t v = (uint64_t(seed) * 430380143u + uint64_t(increment)) % 4294967296u;
        const auto value = int32_t(int64_t(v) - (v >= 2147483648u ? 4294967296 : 0));
        if (next)
            *next = value;
        return double((value >> 16) & 0x7fff) / 32767.0;
    };
    CExpressionContext context;
    ExpectCases(context, {{"rand(5) - rand(5)", 0}, {"rand(5)", hash(5, 408641772)},
                          {"rand(0-7.9)", hash(-7, 408641772)}, {"srand(5)", hash(5, 408641772) * 2 - 1}}, 0);

    // rand(&s) writes the next state back; the state is a signed number.
    double s = 1.0;
    context.AddVariable("s", &s, 1.0);
    context.Parse("rand(&s)");
    double state = 1.0;
    bool negative = false;
    for (int i = 0; i < 6; ++i) {
        const double expected = hash(int64_t(state), 2556125420, &state);
        EXPECT_EQ(context.Evaluate(), expected) << i;
        EXPECT_EQ(s, state) << i;
        negative |= s < 0;
    }
    EXPECT_TRUE(negative);
    context.Parse("srand(&s)");
    s = 1.0;
    EXPECT_EQ(context.Evaluate(), hash(1, 2556125420, &state) * 2 - 1);
    EXPECT_EQ(s, state);
}

TEST(RandomFunctions, DrawFromTheContextsGeneratorOrTheGlobalOne)
{
    // Each context has its own sequence: the same seed, the same numbers.
    CExpressionContext a;
    CExpressionContext b;
    a.SeedRandom(42);
    b.SeedRandom(42);
    CRandom unit(42);
    CRandom signedUnit(42);
    a.Parse("rand()");
    b.Parse("srand()");
    const double first = a.Evaluate();
    EXPECT_EQ(first, double(unit.NextUnit()));
    EXPECT_EQ(a.Evaluate(), double(unit.NextUnit()));
    EXPECT_EQ(b.Evaluate(), double(signedUnit.NextSigned()));
    a.SeedRandom(42);
    EXPECT_EQ(a.Evaluate(), first) << "reseeding starts over";

    // random() and srandom() go on with one sequence across all contexts.
    g_random.Seed(7);
    CRandom global(7);
    a.Parse("random()");
    b.Parse("random(2, 4)");
    EXPECT_EQ(a.Evaluate(), double(global.NextUnit()));
    EXPECT_EQ(b.Evaluate(), double(global.NextRange(2, 4)));
    a.Parse("srandom()");
    EXPECT_EQ(a.Evaluate(), double(global.NextSigned()));
    b.Parse("random(1/0)");
    EXPECT_EQ(b.Evaluate(), double(global.NextUnit())) << "a single argument is ignored";
}

TEST(EngineFunctions, RefuseWrongArgumentCountsAtParseTime)
{
    CLogCapture log;
    const char* texts[] = {"time()", "length(1)", "length(1, 2, 3, 4)", "band(1, 2)", "spectrum(1, 2, 3, 4, 5, 6)",
                           "smoothstep(1, 2)", "noise2(1)", "rand(1, 2)", "srand(&a, &b)", "random(1, 2, 3)",
                           "srandom(1)", "beat(1, 2)", "rand(&PI)"};
    for (const char* text : texts) {
        CExpressionContext context;
        context.Parse(text);
        EXPECT_FALSE(context.IsValid()) << text;
    }
    const auto messages = log.Messages();
    ASSERT_EQ(messages.size(), std::size(texts));
    for (size_t i = 0; i + 1 < std::size(texts); ++i)
        EXPECT_EQ(messages[i], "Invalid number of arguments") << texts[i];
    EXPECT_EQ(messages.back(), "Expression error") << "a constant can't be a reference";
}
