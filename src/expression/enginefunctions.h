#pragma once

class CRandom;

namespace ExprEval {
class FunctionList;
}

// Adds the functions that reach into the engine: the clock, the sound
// analyser, random numbers, noise and a few conveniences (time, date,
// length, beat, band, waveform, smoothstep, spectrum, srandom, srand, rand,
// random, pow, noise1, noise2, noise3).
void AddEngineFunctions(ExprEval::FunctionList& functions);

// The generator that rand() and srand() draw from; each expression context
// makes its own current before it evaluates. Null means the global one.
void SetCurrentRandom(CRandom* random);
