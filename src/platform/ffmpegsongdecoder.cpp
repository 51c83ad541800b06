#include "platform/ffmpegsongdecoder.h"

#include "app/log.h"
#include "app/regularfile.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>

namespace {

constexpr int FifoStartFrames = 8192;

std::string ErrorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

} // namespace

CFfmpegSongDecoder::CFfmpegSongDecoder() = default;

CFfmpegSongDecoder::~CFfmpegSongDecoder()
{
    Close();
}

void CFfmpegSongDecoder::Close()
{
    avformat_close_input(&m_format);
    avcodec_free_context(&m_codec);
    swr_free(&m_resampler);
    av_packet_free(&m_packet);
    av_frame_free(&m_frame);
    if (m_fifo) {
        av_audio_fifo_free(m_fifo);
        m_fifo = nullptr;
    }
    m_stream = -1;
    m_inputEnded = m_ended = m_reportedBadData = false;
    m_framesOut = 0;
    m_inFormat = -1;
    m_inRate = m_inChannels = 0;
}

bool CFfmpegSongDecoder::Fail(const char* what, int error)
{
    Error("%s \"%s\": %s", what, m_path.c_str(), ErrorText(error).c_str());
    Close();
    return false;
}

bool CFfmpegSongDecoder::Open(const std::string& path)
{
    Close();
    m_path = path;
    // FFmpeg opens whatever the name says and waits on a FIFO for ever; a
    // device would be decoded without end.
    if (const std::string why = WhyNotRegularFile(path); !why.empty())
        return Error("Can't open song \"%s\": it %s", path.c_str(), why.c_str());
    // Through the file protocol: a name such as "pipe:0" or "a:b.mp3" is a
    // file name here, not a protocol.
    const std::string url = "file:" + path;
    int result = avformat_open_input(&m_format, url.c_str(), nullptr, nullptr);
    if (result < 0)
        return Fail("Can't open song", result);
    if ((result = avformat_find_stream_info(m_format, nullptr)) < 0)
        return Fail("Can't read song", result);
    const AVCodec* codec = nullptr;
    m_stream = av_find_best_stream(m_format, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (m_stream < 0)
        return Fail("No sound to decode in", m_stream);

    const AVStream* stream = m_format->streams[m_stream];
    m_codec = avcodec_alloc_context3(codec);
    if (!m_codec)
        return Fail("Can't decode", AVERROR(ENOMEM));
    if ((result = avcodec_parameters_to_context(m_codec, stream->codecpar)) < 0)
        return Fail("Can't decode", result);
    // Without it the decoder can't drop the encoder's priming samples, and
    // the song starts late by their length.
    m_codec->pkt_timebase = stream->time_base;
    if ((result = avcodec_open2(m_codec, codec, nullptr)) < 0)
        return Fail("Can't decode", result);

    m_packet = av_packet_alloc();
    m_frame = av_frame_alloc();
    m_fifo = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLT, 2, FifoStartFrames);
    if (!m_packet || !m_frame || !m_fifo)
        return Fail("Can't decode", AVERROR(ENOMEM));
    Log("Decoding \"%s\": %s, %d Hz, %d channels", path.c_str(), codec->name, m_codec->sample_rate,
        m_codec->ch_layout.nb_channels);
    return true;
}

int CFfmpegSongDecoder::Decode(std::span<float, BlockFloats> block)
{
    if (!m_fifo)
        return -1;
    while (av_audio_fifo_size(m_fifo) < BlockFrames && !m_ended)
        DecodeMore();
    const int frames = std::min(av_audio_fifo_size(m_fifo), BlockFrames);
    if (frames <= 0)
        return -1;
    void* out[1] = {block.data()};
    av_audio_fifo_read(m_fifo, out, frames);
    std::fill(block.begin() + frames * 2, block.end(), 0.0f);
    m_framesOut += frames;
    return frames;
}

void CFfmpegSongDecoder::DecodeMore()
{
    int result = avcodec_receive_frame(m_codec, m_frame);
    if (result == 0) {
        Resample(m_frame);
        av_frame_unref(m_frame);
        return;
    }
    // After the input ended the decoder only drains, so wanting more means
    // it has nothing left.
    if (result == AVERROR_EOF || (result == AVERROR(EAGAIN) && m_inputEnded)) {
        Resample(nullptr);
        m_ended = true;
        return;
    }
    if (result != AVERROR(EAGAIN)) {
        Error("Decoding \"%s\" stopped: %s", m_path.c_str(), ErrorText(result).c_str());
        m_ended = true;
        return;
    }

    result = av_read_frame(m_format, m_packet);
    if (result < 0) {
        if (result != AVERROR_EOF)
            Error("Reading \"%s\" stopped: %s", m_path.c_str(), ErrorText(result).c_str());
        m_inputEnded = true;
        // An empty packet asks the decoder for what it still holds.
        avcodec_send_packet(m_codec, nullptr);
        return;
    }
    if (m_packet->stream_index == m_stream) {
        result = avcodec_send_packet(m_codec, m_packet);
        // A damaged packet is skipped; the song goes on after it.
        if (result < 0 && !m_reportedBadData) {
            m_reportedBadData = true;
            Error("Skipping damaged sound in \"%s\": %s", m_path.c_str(), ErrorText(result).c_str());
        }
    }
    av_packet_unref(m_packet);
}

bool CFfmpegSongDecoder::ConfigureResampler(const AVFrame& frame)
{
    if (m_resampler && frame.format == m_inFormat && frame.sample_rate == m_inRate &&
        frame.ch_layout.nb_channels == m_inChannels)
        return true;

    AVChannelLayout in{};
    // Files that don't name their channels get the usual layout for the count.
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&in, frame.ch_layout.nb_channels);
    else
        av_channel_layout_copy(&in, &frame.ch_layout);
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    swr_free(&m_resampler);
    int result = swr_alloc_set_opts2(&m_resampler, &stereo, AV_SAMPLE_FMT_FLT, SampleRate, &in,
                                     static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    av_channel_layout_uninit(&in);
    // Mono goes to both sides at full level, as the capture does, rather
    // than 3 dB down as a centre speaker would.
    static constexpr double monoToStereo[2] = {1.0, 1.0};
    if (result >= 0 && frame.ch_layout.nb_channels == 1)
        result = swr_set_matrix(m_resampler, monoToStereo, 1);
    if (result >= 0)
        result = swr_init(m_resampler);
    if (result < 0) {
        Error("Can't convert the sound of \"%s\": %s", m_path.c_str(), ErrorText(result).c_str());
        swr_free(&m_resampler);
        m_ended = true;
        return false;
    }
    m_inFormat = frame.format;
    m_inRate = frame.sample_rate;
    m_inChannels = frame.ch_layout.nb_channels;
    return true;
}

void CFfmpegSongDecoder::Resample(const AVFrame* frame)
{
    if (frame && !ConfigureResampler(*frame))
        return;
    if (!m_resampler)
        return;
    const int inFrames = frame ? frame->nb_samples : 0;
    const int outFrames = swr_get_out_samples(m_resampler, inFrames);
    if (outFrames <= 0)
        return;
    // Grows to the largest frame the codec makes, then stays.
    if (m_converted.size() < static_cast<size_t>(outFrames) * 2)
        m_converted.resize(static_cast<size_t>(outFrames) * 2);
    uint8_t* out[1] = {reinterpret_cast<uint8_t*>(m_converted.data())};
    const int converted = swr_convert(m_resampler, out, outFrames,
                                      frame ? const_cast<const uint8_t**>(frame->extended_data) : nullptr, inFrames);
    if (converted < 0) {
        Error("Can't convert the sound of \"%s\": %s", m_path.c_str(), ErrorText(converted).c_str());
        m_ended = true;
        return;
    }
    void* data[1] = {m_converted.data()};
    if (av_audio_fifo_write(m_fifo, data, converted) < converted) {
        Error("Out of memory decoding \"%s\"", m_path.c_str());
        m_ended = true;
    }
}
