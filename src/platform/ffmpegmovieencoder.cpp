#include "platform/ffmpegmovieencoder.h"

#include "platform/ffmpegsongdecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <span>
#include <vector>

namespace {

std::string AvError(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

// Beside the movie, hidden, with the movie's extension so that the
// container can still be told from it.
std::string PartialPath(const std::string& path)
{
    const std::filesystem::path file(path);
    // Appended, not added: GCC 12 warns falsely about "." + a string.
    std::string name(".");
    name.append(file.stem().string()).append(".partial").append(file.extension().string());
    return (file.parent_path() / name).string();
}

} // namespace

CFfmpegMovieEncoder::CFfmpegMovieEncoder() = default;

CFfmpegMovieEncoder::~CFfmpegMovieEncoder()
{
    Abandon();
}

bool CFfmpegMovieEncoder::Open(const SOptions& options, std::string& error)
{
    Abandon();
    // The encoders' own statistics are no news on a terminal.
    av_log_set_level(AV_LOG_ERROR);
    m_path = options.m_path;
    m_partialPath = PartialPath(m_path);
    const AVOutputFormat* container = av_guess_format(nullptr, m_path.c_str(), nullptr);
    if (!container) {
        error = "no movie format is known for the file name \"" + m_path + "\" (use .mp4, .mkv or .avi)";
        return false;
    }
    if (avformat_alloc_output_context2(&m_format, container, nullptr, m_partialPath.c_str()) < 0 || !m_format) {
        error = "the movie \"" + m_path + "\" cannot be set up";
        return false;
    }
    m_packet = av_packet_alloc();
    if (!OpenVideo(options, error) || (!options.m_songPath.empty() && !OpenAudio(options.m_songPath, error))) {
        Abandon();
        return false;
    }
    if (const int result = avio_open(&m_format->pb, m_partialPath.c_str(), AVIO_FLAG_WRITE); result < 0) {
        error = "the movie \"" + m_path + "\" cannot be written: " + AvError(result);
        Abandon();
        return false;
    }
    if (const int result = avformat_write_header(m_format, nullptr); result < 0) {
        error = "the movie \"" + m_path + "\" cannot be started: " + AvError(result);
        Abandon();
        return false;
    }
    m_headerWritten = true;
    return true;
}

bool CFfmpegMovieEncoder::OpenVideo(const SOptions& options, std::string& error)
{
    const std::string name = options.m_encoder.empty() ? "libx264" : options.m_encoder;
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    if (!codec || codec->type != AVMEDIA_TYPE_VIDEO) {
        error = "no video encoder named \"" + name + "\" (ffmpeg -encoders lists them)";
        return false;
    }
    if (options.m_width % 2 || options.m_height % 2) {
        error = "a movie needs an even width and height, not " + std::to_string(options.m_width) + "x" +
                std::to_string(options.m_height);
        return false;
    }
    m_width = options.m_width;
    m_height = options.m_height;
    m_frameRate = std::max(1, options.m_frameRate);
    m_videoStream = avformat_new_stream(m_format, nullptr);
    m_video = avcodec_alloc_context3(codec);
    if (!m_videoStream || !m_video) {
        error = "out of memory for the movie";
        return false;
    }
    m_video->width = m_width;
    m_video->height = m_height;
    m_video->time_base = AVRational{1, m_frameRate};
    m_video->framerate = AVRational{m_frameRate, 1};
    m_video->pix_fmt = AV_PIX_FMT_YUV420P;
    m_video->gop_size = m_frameRate * 2;
    if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
        m_video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // Fast and good: a visualizer's pictures change a lot from frame to frame.
    av_opt_set(m_video->priv_data, "preset", "veryfast", 0);
    av_opt_set(m_video->priv_data, "crf", "20", 0);
    if (const int result = avcodec_open2(m_video, codec, nullptr); result < 0) {
        error = "the video encoder \"" + name + "\" refuses this movie: " + AvError(result);
        return false;
    }
    avcodec_parameters_from_context(m_videoStream->codecpar, m_video);
    m_videoStream->time_base = m_video->time_base;
    m_videoStream->avg_frame_rate = m_video->framerate;

    m_picture = av_frame_alloc();
    m_picture->format = m_video->pix_fmt;
    m_picture->width = m_width;
    m_picture->height = m_height;
    if (av_frame_get_buffer(m_picture, 0) < 0) {
        error = "out of memory for the movie";
        return false;
    }
    m_scaler = sws_getContext(m_width, m_height, AV_PIX_FMT_BGR24, m_width, m_height, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                              nullptr, nullptr, nullptr);
    if (!m_scaler) {
        error = "the pictures cannot be converted for the video encoder";
        return false;
    }
    return true;
}

bool CFfmpegMovieEncoder::OpenAudio(const std::string& songPath, std::string& error)
{
    m_song = std::make_unique<CFfmpegSongDecoder>();
    if (!m_song->Open(songPath)) {
        error = "the song \"" + songPath + "\" cannot be read";
        return false;
    }
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    m_audioStream = codec ? avformat_new_stream(m_format, nullptr) : nullptr;
    m_audio = codec ? avcodec_alloc_context3(codec) : nullptr;
    if (!m_audioStream || !m_audio) {
        error = "no AAC encoder for the song's track";
        return false;
    }
    m_audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_audio->sample_rate = CSongDecoder::SampleRate;
    av_channel_layout_default(&m_audio->ch_layout, 2);
    m_audio->bit_rate = 192000;
    m_audio->time_base = AVRational{1, CSongDecoder::SampleRate};
    if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
        m_audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int result = avcodec_open2(m_audio, codec, nullptr); result < 0) {
        error = "the AAC encoder refuses the song: " + AvError(result);
        return false;
    }
    avcodec_parameters_from_context(m_audioStream->codecpar, m_audio);
    m_audioStream->time_base = m_audio->time_base;
    m_fifo = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, 2, m_audio->frame_size * 4);
    m_sound = av_frame_alloc();
    m_sound->format = AV_SAMPLE_FMT_FLTP;
    m_sound->nb_samples = m_audio->frame_size;
    av_channel_layout_copy(&m_sound->ch_layout, &m_audio->ch_layout);
    m_sound->sample_rate = m_audio->sample_rate;
    if (!m_fifo || av_frame_get_buffer(m_sound, 0) < 0) {
        error = "out of memory for the song's track";
        return false;
    }
    return true;
}

bool CFfmpegMovieEncoder::AddFrame(const uint8_t* bgrBottomUp, std::string& error)
{
    if (!m_headerWritten)
        return false;
    if (av_frame_make_writable(m_picture) < 0) {
        error = "out of memory for the movie";
        return false;
    }
    // The last row first, with a negative stride: the picture upright.
    const int stride = 3 * m_width;
    const uint8_t* source[1] = {bgrBottomUp + size_t(stride) * size_t(m_height - 1)};
    const int strides[1] = {-stride};
    sws_scale(m_scaler, source, strides, 0, m_height, m_picture->data, m_picture->linesize);
    m_picture->pts = m_videoFrames++;
    if (!Encode(m_video, m_videoStream, m_picture, error))
        return false;
    return !m_audio || FeedAudio(double(m_videoFrames) / m_frameRate, false, error);
}

bool CFfmpegMovieEncoder::FeedAudio(double seconds, bool last, std::string& error)
{
    const int64_t wanted = int64_t(seconds * CSongDecoder::SampleRate + 0.5);
    std::array<float, CSongDecoder::BlockFloats> block{};
    std::array<float, CSongDecoder::BlockFrames> left{}, right{};
    // Keep the FIFO ahead of what the encoder is to take.
    while (!m_songEnded && m_audioSamples + av_audio_fifo_size(m_fifo) < wanted) {
        const int frames = m_song->Decode(std::span<float, CSongDecoder::BlockFloats>(block));
        if (frames <= 0) {
            m_songEnded = true;
            break;
        }
        for (int i = 0; i < frames; ++i) {
            left[size_t(i)] = block[size_t(2 * i)];
            right[size_t(i)] = block[size_t(2 * i + 1)];
        }
        void* planes[2] = {left.data(), right.data()};
        av_audio_fifo_write(m_fifo, planes, frames);
    }
    const int frameSize = m_audio->frame_size;
    for (;;) {
        const int64_t due = wanted - m_audioSamples;
        const int available = av_audio_fifo_size(m_fifo);
        // Whole encoder frames while the pictures are ahead; at the end the
        // rest, cut to the pictures' length.
        int take = 0;
        if (due >= frameSize && available >= frameSize)
            take = frameSize;
        else if (last && due > 0 && available > 0)
            take = int(std::min(std::min(due, int64_t(available)), int64_t(frameSize)));
        if (take == 0)
            break;
        if (av_frame_make_writable(m_sound) < 0) {
            error = "out of memory for the song's track";
            return false;
        }
        m_sound->nb_samples = take;
        av_audio_fifo_read(m_fifo, reinterpret_cast<void**>(m_sound->data), take);
        m_sound->pts = m_audioSamples;
        m_audioSamples += take;
        if (!Encode(m_audio, m_audioStream, m_sound, error))
            return false;
    }
    return true;
}

bool CFfmpegMovieEncoder::Encode(AVCodecContext* codec, AVStream* stream, AVFrame* frame, std::string& error)
{
    if (int result = avcodec_send_frame(codec, frame); result < 0 && result != AVERROR_EOF) {
        error = "the encoder failed: " + AvError(result);
        return false;
    }
    for (;;) {
        const int result = avcodec_receive_packet(codec, m_packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return true;
        if (result < 0) {
            error = "the encoder failed: " + AvError(result);
            return false;
        }
        // Every packet has its length: a frame, or the samples it holds.
        if (m_packet->duration <= 0)
            m_packet->duration = codec == m_video ? 1 : frame ? frame->nb_samples : codec->frame_size;
        av_packet_rescale_ts(m_packet, codec->time_base, stream->time_base);
        m_packet->stream_index = stream->index;
        if (const int written = av_interleaved_write_frame(m_format, m_packet); written < 0) {
            error = "the movie \"" + m_path + "\" could not be written: " + AvError(written);
            return false;
        }
    }
}

bool CFfmpegMovieEncoder::Finish(std::string& error)
{
    if (!m_headerWritten)
        return false;
    const bool flushed = (!m_audio || FeedAudio(double(m_videoFrames) / m_frameRate, true, error)) &&
                         Encode(m_video, m_videoStream, nullptr, error) &&
                         (!m_audio || Encode(m_audio, m_audioStream, nullptr, error));
    const int trailer = flushed ? av_write_trailer(m_format) : -1;
    const int closed = avio_closep(&m_format->pb);
    if (flushed && (trailer < 0 || closed < 0))
        error = "the movie \"" + m_path + "\" could not be finished: " + AvError(trailer < 0 ? trailer : closed);
    std::error_code renamed;
    if (flushed && trailer >= 0 && closed >= 0)
        std::filesystem::rename(m_partialPath, m_path, renamed);
    if (renamed)
        error = "the movie could not be named \"" + m_path + "\": " + renamed.message();
    const bool done = flushed && trailer >= 0 && closed >= 0 && !renamed;
    m_headerWritten = false;
    if (!done)
        Abandon();
    else
        Close();
    return done;
}

int64_t CFfmpegMovieEncoder::BytesWritten() const
{
    return m_format && m_format->pb ? avio_tell(m_format->pb) : 0;
}

void CFfmpegMovieEncoder::Abandon()
{
    const bool started = m_format != nullptr;
    Close();
    if (started && !m_partialPath.empty()) {
        std::error_code ignored;
        std::filesystem::remove(m_partialPath, ignored);
    }
}

void CFfmpegMovieEncoder::Close()
{
    if (m_format && m_format->pb)
        avio_closep(&m_format->pb);
    avcodec_free_context(&m_video);
    avcodec_free_context(&m_audio);
    av_frame_free(&m_picture);
    av_frame_free(&m_sound);
    av_packet_free(&m_packet);
    sws_freeContext(m_scaler);
    m_scaler = nullptr;
    if (m_fifo)
        av_audio_fifo_free(m_fifo);
    m_fifo = nullptr;
    avformat_free_context(m_format);
    m_format = nullptr;
    m_videoStream = m_audioStream = nullptr;
    m_song.reset();
    m_songEnded = false;
    m_videoFrames = m_audioSamples = 0;
    m_headerWritten = false;
}
