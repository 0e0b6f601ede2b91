#pragma once

// Makes small movies: a grey picture that gets brighter, encoded for real.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <QByteArray>
#include <QFile>

#include <cstring>

struct MovieMaker
{
    static constexpr int kSoundRate = 8000;

    const char *container = "mov";
    AVCodecID codec = AV_CODEC_ID_MPEG4;
    int width = 96;
    int height = 64;
    AVRational aspect{1, 1};
    double turn = 0; ///< degrees, as the track's matrix says
    int frames = 12;
    const char *movflags = "";
    bool hasSound = false; ///< plain sound beside the picture
    bool hasCover = false; ///< a further picture that does not move, first among the tracks

    /// False when anything fails.
    [[nodiscard]] bool write(const QString &path) const
    {
        AVFormatContext *output = nullptr;
        avformat_alloc_output_context2(&output, nullptr, container, QFile::encodeName(path).constData());
        if (!output || avio_open(&output->pb, QFile::encodeName(path).constData(), AVIO_FLAG_WRITE) < 0)
            return false;
        AVDictionary *options = nullptr;
        if (*movflags)
            av_dict_set(&options, "movflags", movflags, 0);
        av_dict_set(&output->metadata, "title", "Field notes", 0);
        if (hasCover)
            addTrack(*output, AV_CODEC_ID_MJPEG, {8, 8})->disposition = AV_DISPOSITION_ATTACHED_PIC;
        AVCodecContext *encoder = openEncoder((output->oformat->flags & AVFMT_GLOBALHEADER) != 0);
        AVStream *track = addTrack(*output, codec, {width, height});
        bool isDone = encoder && avcodec_parameters_from_context(track->codecpar, encoder) >= 0;
        track->time_base = {1, 25};
        track->avg_frame_rate = {25, 1};
        track->sample_aspect_ratio = aspect;
        if (turn != 0) {
            auto *matrix = reinterpret_cast<int32_t *>(
                av_stream_new_side_data(track, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(int32_t)));
            av_display_rotation_set(matrix, turn);
        }
        const AVStream *sound = hasSound ? addSoundTrack(*output) : nullptr;
        isDone = isDone && avformat_write_header(output, &options) >= 0;
        for (int i = 0; isDone && i <= frames; ++i)
            isDone = encode(*output, *track, *encoder, i) && (!sound || writeSound(*output, *sound, i));
        isDone = isDone && av_write_trailer(output) >= 0;
        av_dict_free(&options);
        avcodec_free_context(&encoder);
        avio_closep(&output->pb);
        avformat_free_context(output);
        return isDone;
    }

    static AVStream *addTrack(AVFormatContext &output, AVCodecID codec, QSize size)
    {
        AVStream *track = avformat_new_stream(&output, nullptr);
        track->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        track->codecpar->codec_id = codec;
        track->codecpar->width = size.width();
        track->codecpar->height = size.height();
        return track;
    }

    static AVStream *addSoundTrack(AVFormatContext &output)
    {
        AVStream *track = addTrack(output, AV_CODEC_ID_PCM_S16LE, {});
        track->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
        track->codecpar->format = AV_SAMPLE_FMT_S16;
        track->codecpar->sample_rate = kSoundRate;
        av_channel_layout_default(&track->codecpar->ch_layout, 1);
        track->codecpar->bits_per_coded_sample = 16;
        track->codecpar->block_align = 2;
        track->time_base = {1, kSoundRate};
        return track;
    }

    /// What sounds during one frame.
    [[nodiscard]] static bool writeSound(AVFormatContext &output, const AVStream &track, int number)
    {
        constexpr int kSamples = kSoundRate / 25;
        AVPacket *packet = av_packet_alloc();
        av_new_packet(packet, kSamples * 2);
        std::memset(packet->data, number, static_cast<size_t>(packet->size));
        packet->stream_index = track.index;
        packet->pts = packet->dts = av_rescale_q(number, {1, 25}, track.time_base);
        packet->duration = av_rescale_q(1, {1, 25}, track.time_base);
        const bool isDone = av_interleaved_write_frame(&output, packet) >= 0;
        av_packet_free(&packet);
        return isDone;
    }

    [[nodiscard]] AVCodecContext *openEncoder(bool hasGlobalHeader) const
    {
        const AVCodec *kind = avcodec_find_encoder(codec);
        AVCodecContext *encoder = avcodec_alloc_context3(kind);
        encoder->width = width;
        encoder->height = height;
        encoder->pix_fmt = codec == AV_CODEC_ID_MJPEG ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
        encoder->time_base = {1, 25};
        encoder->framerate = {25, 1};
        encoder->sample_aspect_ratio = aspect;
        encoder->bit_rate = 100000;
        encoder->rc_buffer_size = 1 << 20;
        encoder->rc_max_rate = 1 << 20;
        if (hasGlobalHeader)
            encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        if (avcodec_open2(encoder, kind, nullptr) < 0)
            avcodec_free_context(&encoder);
        return encoder;
    }

    /// One frame, or the rest when there are no more.
    [[nodiscard]] bool encode(AVFormatContext &output, const AVStream &track, AVCodecContext &encoder,
                              int number) const
    {
        AVFrame *frame = av_frame_alloc();
        frame->format = encoder.pix_fmt;
        frame->width = width;
        frame->height = height;
        frame->pts = number;
        av_frame_get_buffer(frame, 0);
        std::memset(frame->data[0], number * 10, static_cast<size_t>(frame->linesize[0]) * height);
        for (const int plane : {1, 2})
            std::memset(frame->data[plane], 128, static_cast<size_t>(frame->linesize[plane]) * (height / 2));
        bool isDone = avcodec_send_frame(&encoder, number < frames ? frame : nullptr) >= 0;
        av_frame_free(&frame);
        AVPacket *packet = av_packet_alloc();
        while (isDone && avcodec_receive_packet(&encoder, packet) >= 0) {
            packet->stream_index = track.index;
            av_packet_rescale_ts(packet, encoder.time_base, track.time_base);
            packet->duration = av_rescale_q(1, encoder.time_base, track.time_base);
            isDone = av_interleaved_write_frame(&output, packet) >= 0;
        }
        av_packet_free(&packet);
        return isDone;
    }
};

/// Media of the tracks of one kind, packet by packet.
inline QList<QByteArray> moviePackets(const QString &path, AVMediaType kind = AVMEDIA_TYPE_VIDEO)
{
    AVFormatContext *input = nullptr;
    QList<QByteArray> packets;
    if (avformat_open_input(&input, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return packets;
    AVPacket *packet = av_packet_alloc();
    while (av_read_frame(input, packet) >= 0) {
        const AVStream *track = input->streams[packet->stream_index];
        if (track->codecpar->codec_type == kind && track->disposition != AV_DISPOSITION_ATTACHED_PIC)
            packets.append(QByteArray(reinterpret_cast<const char *>(packet->data), packet->size));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&input);
    return packets;
}
