#include "limiter/COutputStage.h"

#include <emmintrin.h>

using namespace LimiterLanes;

COutputStage::COutputStage(int channels)
    : quantizer(channels), quantizingChannel(size_t(channels), 0), ditherDraws(size_t(chunkLength) * size_t(channels), 0.0f)
{
}

void COutputStage::update(float sampleRate, int8_t bits)
{
    quantizer.forEach([&](CQuantizer& q) {
        q.setRate(sampleRate);
        q.setWordLength(bits);
    });
}

void COutputStage::setShaping(float amount)
{
    quantizer.forEach([amount](CQuantizer& q) { q.setShaping(amount); });
}

void COutputStage::clear()
{
    quantizer.forEach([](CQuantizer& q) { q.clear(); });
}

bool COutputStage::quantizing(const Chunk& chunk)
{
    bool active = false;
    for (int k = 0; k < chunk.count; ++k)
        active = active || quantizer[chunk.first + k].isActive();
    return active;
}

void COutputStage::drawDither(Chunk* chunks, int count)
{
    int quantizing = 0;
    for (int ch = 0; ch < quantizer.size(); ++ch)
    {
        if (quantizer[ch].isActive())
            quantizingChannel[size_t(quantizing++)] = ch;
    }
    if (quantizing == 0)
        return;
    const float* draws = ditherDraws.data();
    CQuantizer::drawDither(ditherDraws.data(), count * quantizing);
    for (int q = 0; q < quantizing; ++q)
    {
        const int ch = quantizingChannel[size_t(q)];
        LaneFrame* dither = chunks[ch / pairWidth].dither;
        const int lane = ch % pairWidth;
        for (int i = 0; i < count; ++i)
            dither[i][lane] = draws[i * quantizing + q];
    }
}

void COutputStage::store(const Chunk& chunk, float* const* out, int offset, int count) const
{
    int i = 0;
    if (chunk.count == 2)
    {
        // A pair of channels, four frames into two registers of samples.
        float* left = out[chunk.first] + offset;
        float* right = out[chunk.first + 1] + offset;
        for (; i + 4 <= count; i += 4)
        {
            const __m128 first = _mm_unpacklo_ps(_mm_load_ps(chunk.output[i]), _mm_load_ps(chunk.output[i + 1]));
            const __m128 second = _mm_unpacklo_ps(_mm_load_ps(chunk.output[i + 2]), _mm_load_ps(chunk.output[i + 3]));
            _mm_storeu_ps(left + i, _mm_movelh_ps(first, second));
            _mm_storeu_ps(right + i, _mm_movehl_ps(second, first));
        }
    }
    for (int k = 0; k < chunk.count; ++k)
    {
        float* destination = out[chunk.first + k] + offset;
        for (int j = i; j < count; ++j)
            destination[j] = chunk.output[j][k];
    }
}
