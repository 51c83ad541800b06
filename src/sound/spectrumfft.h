#pragma once

#include <vector>

// The spectrum of one channel of a block: a Hann window over the input
// samples, a 1024-point transform in single precision, and an equaliser
// that lifts the higher bins. Tables are made once, at construction.
class CSpectrumFft
{
public:
    CSpectrumFft(int inputSize = 576, int size = 1024, float windowPower = 1.0f);

    // Reads inputSize samples, `stride` floats apart (2 for one channel of
    // interleaved stereo), and writes size / 2 magnitudes.
    void Transform(const float* input, int stride, float* magnitudes);

private:
    int m_inputSize;
    int m_size;
    std::vector<int> m_bitReverse;
    std::vector<float> m_window;
    std::vector<float> m_equaliser;
    std::vector<float> m_re;
    std::vector<float> m_im;
    // One rotation per stage (m = 2, 4, ... size): cos and sin of -2pi/m.
    std::vector<float> m_stageCos;
    std::vector<float> m_stageSin;
};
