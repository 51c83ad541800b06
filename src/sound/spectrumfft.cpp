#include "sound/spectrumfft.h"

#include <cmath>

namespace {

// 2pi and pi/2 in single precision: every table is made in float.
constexpr float TwoPi = 6.2831855f;
constexpr float HalfPi = 1.5707964f;

} // namespace

CSpectrumFft::CSpectrumFft(int inputSize, int size, float windowPower)
    : m_inputSize(inputSize), m_size(size), m_bitReverse(size), m_window(inputSize),
      m_equaliser(size / 2), m_re(size), m_im(size)
{
    int bits = 0;
    while ((1 << bits) < size)
        ++bits;
    for (int i = 0; i < size; ++i) {
        int r = 0;
        for (int b = 0; b < bits; ++b)
            r |= ((i >> b) & 1) << (bits - 1 - b);
        m_bitReverse[i] = r;
    }

    for (int m = 2; m <= size; m *= 2) {
        const float theta = -TwoPi / float(m);
        m_stageCos.push_back(std::cos(theta));
        m_stageSin.push_back(std::sin(theta));
    }

    const float step = 1.0f / float(inputSize) * TwoPi;
    for (int i = 0; i < inputSize; ++i) {
        float w = 0.5f + 0.5f * std::sin(float(i) * step - HalfPi);
        if (windowPower != 1.0f)
            w = std::pow(w, windowPower);
        m_window[i] = w;
    }

    // Music carries far more energy low down; the lift keeps the upper bins
    // visible next to the bass.
    const int half = size / 2;
    for (int i = 0; i < half; ++i)
        m_equaliser[i] = -0.1f * std::log(float(half - i) / float(half));
}

void CSpectrumFft::Transform(const float* input, int stride, float* magnitudes)
{
    float* re = m_re.data();
    float* im = m_im.data();
    for (int i = 0; i < m_size; ++i) {
        const int source = m_bitReverse[i];
        re[i] = source < m_inputSize ? input[source * stride] * m_window[source] : 0.0f;
        im[i] = 0.0f;
    }

    int stage = 0;
    for (int m = 2; m <= m_size; m *= 2, ++stage) {
        const int half = m / 2;
        const float stepRe = m_stageCos[stage];
        const float stepIm = m_stageSin[stage];
        float wRe = 1.0f;
        float wIm = 0.0f;
        for (int j = 0; j < half; ++j) {
            for (int k = j; k < m_size; k += m) {
                const int t = k + half;
                const float tRe = wRe * re[t] - wIm * im[t];
                const float tIm = wRe * im[t] + wIm * re[t];
                re[t] = re[k] - tRe;
                im[t] = im[k] - tIm;
                re[k] += tRe;
                im[k] += tIm;
            }
            const float nextRe = wRe * stepRe - wIm * stepIm;
            wIm = wRe * stepIm + wIm * stepRe;
            wRe = nextRe;
        }
    }

    for (int i = 0; i < m_size / 2; ++i)
        magnitudes[i] = std::sqrt(re[i] * re[i] + im[i] * im[i]) * m_equaliser[i];
}
