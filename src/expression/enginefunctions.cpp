// The functions that join the language to the engine. Each is a factory and
// a node class; none allocates when it is evaluated.

#include "expression/enginefunctions.h"

#include "app/random.h"
#include "expression/functionlist.h"
#include "expression/functionnode.h"
#include "expression/simplexnoise.h"
#include "sound/soundanalyzer.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>

using namespace ExprEval;

namespace {

CRandom* g_currentRandom = nullptr;

CRandom& CurrentRandom()
{
    return g_currentRandom ? *g_currentRandom : g_random;
}

// Truncation toward zero that stays defined for NaN and for values beyond
// the int range, which expression text can easily produce.
int32_t TruncateToInt32(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return value > 0.0 ? INT32_MAX : INT32_MIN;
    return static_cast<int32_t>(value);
}

// The analyser, when there is music to read; null otherwise.
const CSoundAnalyzer* Music()
{
    return g_soundAnalyzer && g_soundAnalyzer->IsMusicActive() ? g_soundAnalyzer : nullptr;
}

// Compares an argument with a small whole number the way scripts were
// written against: in single precision, with a little slack.
bool Is(double argument, int n)
{
    return std::fabs(static_cast<float>(argument) - static_cast<float>(n)) < 1e-5f;
}

struct LocalClock
{
    std::tm fields{};
    int millisecond = 0;
};

LocalClock ReadLocalClock()
{
    using namespace std::chrono;
    const auto sinceEpoch = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    LocalClock clock;
    const std::time_t seconds = static_cast<std::time_t>(sinceEpoch / 1000);
    clock.millisecond = static_cast<int>(sinceEpoch % 1000);
    localtime_r(&seconds, &clock.fields);
    return clock;
}

// The hash behind rand(x), rand(&x), srand(x) and srand(&x): a step of a
// linear congruential generator, of which 15 high bits are kept.
double HashStep(int32_t seed, uint32_t increment, int32_t& next)
{
    next = static_cast<int32_t>(static_cast<uint32_t>(seed) * 430380143u + increment);
    return static_cast<double>((next >> 16) & 0x7fff) / 32767.0;
}

constexpr uint32_t ValueIncrement = 408641772u;
constexpr uint32_t ReferenceIncrement = 2556125420u;

// Base of the engine's function nodes: argument access and the limits.
class EngineNode : public FunctionNode
{
protected:
    EngineNode(Expression* expression, long minValues, long maxValues, long minReferences = 0,
               long maxReferences = 0)
        : FunctionNode(expression)
    {
        SetArgumentLimits(minValues, maxValues, minReferences, maxReferences);
    }

    double Arg(size_t index) { return m_nodes[index]->Evaluate(); }
    float ArgFloat(size_t index) { return static_cast<float>(Arg(index)); }
    int ArgInt(size_t index) { return TruncateToInt32(Arg(index)); }
    bool Has(size_t index) const { return m_nodes.size() > index; }
    // The value that stands in for the music while there is none.
    double Fallback(size_t index) { return Has(index) ? Arg(index) : 0.0; }
};

template <class TNode>
class EngineFactory final : public FunctionFactory
{
public:
    explicit EngineFactory(const char* name) : m_name(name) {}
    std::string GetName() const override { return m_name; }
    std::unique_ptr<FunctionNode> CreateNode(Expression* expression) override
    {
        return std::make_unique<TNode>(expression);
    }

private:
    const char* m_name;
};

// ---- Clock ----

// time(0) hour, time(1) minute, time(2) second, time(3) millisecond.
class EPTimeNode final : public EngineNode
{
public:
    explicit EPTimeNode(Expression* expression) : EngineNode(expression, 1, 1) {}
    double Compute() override
    {
        const double k = Arg(0);
        const LocalClock clock = ReadLocalClock();
        const int parts[] = {clock.fields.tm_hour, clock.fields.tm_min, clock.fields.tm_sec, clock.millisecond};
        for (int i = 0; i < 4; ++i) {
            if (Is(k, i))
                return parts[i];
        }
        return 0.0;
    }
};

// date(0) year, date(1) month from 1, date(2) day of the month, date(3) day
// of the week from Sunday as 0.
class EPDateNode final : public EngineNode
{
public:
    explicit EPDateNode(Expression* expression) : EngineNode(expression, 1, 1) {}
    double Compute() override
    {
        const double k = Arg(0);
        const LocalClock clock = ReadLocalClock();
        const int parts[] = {clock.fields.tm_year + 1900, clock.fields.tm_mon + 1, clock.fields.tm_mday,
                             clock.fields.tm_wday};
        for (int i = 0; i < 4; ++i) {
            if (Is(k, i))
                return parts[i];
        }
        return 0.0;
    }
};

// ---- Conveniences ----

// Each argument is evaluated twice, once for each factor of its square, so
// an argument with a side effect runs twice.
class EPLengthNode final : public EngineNode
{
public:
    explicit EPLengthNode(Expression* expression) : EngineNode(expression, 2, 3) { SetPure(); }
    double Compute() override
    {
        double sum = 0.0;
        for (size_t i = 0; i < m_nodes.size(); ++i) {
            const double a = Arg(i);
            sum += a * Arg(i);
        }
        return std::sqrt(sum);
    }
};

class EPSmoothStepNode final : public EngineNode
{
public:
    explicit EPSmoothStepNode(Expression* expression) : EngineNode(expression, 3, 3) { SetPure(); }
    double Compute() override
    {
        const float lo = ArgFloat(0);
        const float hi = ArgFloat(1);
        const float x = ArgFloat(2);
        // Below lo is tested first: with hi < lo a value between them gives 0.
        if (lo > x)
            return 0.0;
        // x >= hi here, and with lo = hi the step has been taken.
        if (x > hi || lo == hi)
            return 1.0;
        const double t = (x - lo) / (hi - lo);
        return (3.0 - 2.0 * t) * t * t;
    }
};

// Unlike the ^ operator, no errno test: pow(0-8, 0.5) is NaN and stops nothing.
class EPPowFunctionNode final : public EngineNode
{
public:
    explicit EPPowFunctionNode(Expression* expression) : EngineNode(expression, 2, 2) { SetPure(); }
    double Compute() override
    {
        const double a = Arg(0);
        const double b = Arg(1);
        return std::pow(a, b);
    }
};

// ---- Sound ----

class EPBeatNode final : public EngineNode
{
public:
    explicit EPBeatNode(Expression* expression) : EngineNode(expression, 0, 1) {}
    double Compute() override
    {
        const CSoundAnalyzer* music = Music();
        return music ? static_cast<double>(music->GetBeat()) : Fallback(0);
    }
};

// band(channel, kind, index, fallback): channel -1 both, 0 left, 1 right;
// kind 1 fast, 2 medium, 3 slow average, anything else the immediate value;
// index 0 bass, 1 mid, 2 treble.
class EPBandNode final : public EngineNode
{
public:
    explicit EPBandNode(Expression* expression) : EngineNode(expression, 3, 4) {}
    double Compute() override
    {
        const CSoundAnalyzer* music = Music();
        if (!music)
            return Fallback(3);
        const int channel = ArgInt(0);
        int kind = ArgInt(1);
        const int index = ArgInt(2);
        if (channel < -1 || channel > 1 || index < 0 || index > 2)
            return 0.0;
        if (kind < 1 || kind > 3)
            kind = 0;
        if (channel >= 0)
            return music->GetBand(channel, kind, index);
        return (music->GetBand(0, kind, index) + music->GetBand(1, kind, index)) * 0.5f;
    }
};

// waveform(channel, position, fallback)
class EPWaveformNode final : public EngineNode
{
public:
    explicit EPWaveformNode(Expression* expression) : EngineNode(expression, 2, 3) {}
    double Compute() override
    {
        const CSoundAnalyzer* music = Music();
        if (!music)
            return Fallback(2);
        const float position = ArgFloat(1);
        const int channel = ArgInt(0);
        return music->GetWaveform(channel, position);
    }
};

// spectrum(channel, position, fallback, width, level): the mean over
// position to position + width, at smoothing level 1 unless told.
class EPSpectrumNode final : public EngineNode
{
public:
    explicit EPSpectrumNode(Expression* expression) : EngineNode(expression, 2, 5) {}
    double Compute() override
    {
        const CSoundAnalyzer* music = Music();
        if (!music)
            return Fallback(2);
        const float width = Has(3) ? ArgFloat(3) : 0.0f;
        const int level = Has(4) ? ArgInt(4) : 1;
        const float position = ArgFloat(1);
        const int channel = ArgInt(0);
        return music->GetSpectrum(channel, level, position, position + width);
    }
};

// ---- Noise ----

class EPNoise1FunctionNode final : public EngineNode
{
public:
    explicit EPNoise1FunctionNode(Expression* expression) : EngineNode(expression, 1, 1) { SetPure(); }
    double Compute() override { return SimplexNoise1(ArgFloat(0)); }
};

class EPNoise2FunctionNode final : public EngineNode
{
public:
    explicit EPNoise2FunctionNode(Expression* expression) : EngineNode(expression, 2, 2) { SetPure(); }
    double Compute() override
    {
        const float y = ArgFloat(1);
        const float x = ArgFloat(0);
        return SimplexNoise2(x, y);
    }
};

class EPNoise3FunctionNode final : public EngineNode
{
public:
    explicit EPNoise3FunctionNode(Expression* expression) : EngineNode(expression, 3, 3) { SetPure(); }
    double Compute() override
    {
        const float z = ArgFloat(2);
        const float y = ArgFloat(1);
        const float x = ArgFloat(0);
        return SimplexNoise3(x, y, z);
    }
};

// ---- Random numbers ----

// rand(x) hashes x; rand(&s) steps s through a sequence; rand() draws from
// the evaluating context's generator. All from 0 to 1.
class rand_FunctionNode final : public EngineNode
{
public:
    explicit rand_FunctionNode(Expression* expression) : EngineNode(expression, 0, 1, 0, 1) {}
    double Compute() override
    {
        int32_t next;
        if (Has(0))
            return HashStep(ArgInt(0), ValueIncrement, next);
        if (!m_refs.empty()) {
            const double result = HashStep(TruncateToInt32(*m_refs[0]), ReferenceIncrement, next);
            *m_refs[0] = next;
            return result;
        }
        return CurrentRandom().NextUnit();
    }
};

// As rand, from -1 to 1.
class srand_FunctionNode final : public EngineNode
{
public:
    explicit srand_FunctionNode(Expression* expression) : EngineNode(expression, 0, 1, 0, 1) {}
    double Compute() override
    {
        int32_t next;
        if (Has(0))
            return HashStep(ArgInt(0), ValueIncrement, next) * 2.0 - 1.0;
        if (!m_refs.empty()) {
            const double result = HashStep(TruncateToInt32(*m_refs[0]), ReferenceIncrement, next) * 2.0 - 1.0;
            *m_refs[0] = next;
            return result;
        }
        return CurrentRandom().NextSigned();
    }
};

// random() from 0 to 1 and random(a, b) from a to b, on the global generator,
// so one sequence runs on across all contexts. A single argument is ignored.
class random_FunctionNode final : public EngineNode
{
public:
    explicit random_FunctionNode(Expression* expression) : EngineNode(expression, 0, 2) {}
    double Compute() override
    {
        if (m_nodes.size() != 2)
            return g_random.NextUnit();
        const float b = ArgFloat(1);
        const float a = ArgFloat(0);
        return g_random.NextRange(a, b);
    }
};

class srandom_FunctionNode final : public EngineNode
{
public:
    explicit srandom_FunctionNode(Expression* expression) : EngineNode(expression, 0, 0) {}
    double Compute() override { return g_random.NextSigned(); }
};

} // namespace

void AddEngineFunctions(FunctionList& functions)
{
    functions.Add(std::make_unique<EngineFactory<EPTimeNode>>("time"));
    functions.Add(std::make_unique<EngineFactory<EPDateNode>>("date"));
    functions.Add(std::make_unique<EngineFactory<EPLengthNode>>("length"));
    functions.Add(std::make_unique<EngineFactory<EPBeatNode>>("beat"));
    functions.Add(std::make_unique<EngineFactory<EPBandNode>>("band"));
    functions.Add(std::make_unique<EngineFactory<EPWaveformNode>>("waveform"));
    functions.Add(std::make_unique<EngineFactory<EPSmoothStepNode>>("smoothstep"));
    functions.Add(std::make_unique<EngineFactory<EPSpectrumNode>>("spectrum"));
    functions.Add(std::make_unique<EngineFactory<srandom_FunctionNode>>("srandom"));
    functions.Add(std::make_unique<EngineFactory<srand_FunctionNode>>("srand"));
    functions.Add(std::make_unique<EngineFactory<rand_FunctionNode>>("rand"));
    functions.Add(std::make_unique<EngineFactory<random_FunctionNode>>("random"));
    functions.Add(std::make_unique<EngineFactory<EPPowFunctionNode>>("pow"));
    functions.Add(std::make_unique<EngineFactory<EPNoise1FunctionNode>>("noise1"));
    functions.Add(std::make_unique<EngineFactory<EPNoise2FunctionNode>>("noise2"));
    functions.Add(std::make_unique<EngineFactory<EPNoise3FunctionNode>>("noise3"));
}

void SetCurrentRandom(CRandom* random)
{
    g_currentRandom = random;
}
