// From a record of callbacks to an open file; see the header.

#include "asfparser/AsfOpen.h"

#include "asfparser/AsfPlayback.h"

namespace quorv {

namespace {

Code read_header(AsfContext *context) {
    if (context->header_parsed) {
        context->header.stream_size = CASFBase::GetStreamSize(&context->reader);
        return Code::Ok;
    }
    const Code code = asf_read_header(&context->reader, &context->header);
    context->header_parsed = code == Code::Ok;
    return code;
}

AsfDataLayout data_layout(const AsfHeader &header) {
    return {.first_packet = header.first_packet,
            .data_end = header.data_end,
            .is_cut = header.is_cut,
            .total_packets = header.total_packets,
            .packet_size = header.packet_size,
            .audio_stream = header.audio.present ? header.audio.stream_number : kAsfNoStream,
            .video_stream = header.video.present ? header.video.stream_number : kAsfNoStream,
            .time_base = header.preroll,
            .stream_size = header.stream_size,
            .streams = header.facts};
}

Code load_index(AsfContext *context, uint64_t stream_size) {
    const AsfHeader &header = context->header;
    return context->index_parser->LoadIndex(&context->reader, header.data_end, stream_size, header.preroll);
}

Code read_header_and_index(AsfContext *context, SplitterHttpParam *param) {
    const Code code = read_header(context);
    if (code != Code::Ok) return code;
    if (!context->opened) context->data_parser->Packets().set_layout(data_layout(context->header));
    if (asf_load_index(context) == Code::NoMemory) return Code::NoMemory;
    param->index_flag = context->index_parser->IsLoaded() ? 1 : 0;
    return Code::Ok;
}

Code open_readers(AsfContext *context) {
    Code code = context->base->CreateReader(&context->reader, StreamAccess::Read);
    if (code != Code::Ok) return code;
    code = read_header(context);
    if (code == Code::Ok) code = context->data_parser->InitParser(data_layout(context->header));
    if (code != Code::Ok) CASFBase::DestroyReader(&context->reader);
    return code;
}

// What cannot be found out at once is missing later, but the file can be played.
void look_ahead(AsfContext *context) {
    static_cast<void>(asf_prime(context));
    const bool has_packets = context->data_parser->Packets().packet_count() > 0;
    if (has_packets && context->header.duration != 0)
        static_cast<void>(load_index(context, context->header.stream_size));
}

}  // namespace

Code asf_load_index(AsfContext *context) {
    return load_index(context, 0);
}

// An open file has its reader; else one is open for the time of this call.
Code asf_find_index(AsfContext *context, SplitterHttpParam *param) {
    if (context->opened) return read_header_and_index(context, param);
    Code code = context->base->CreateReader(&context->reader, StreamAccess::Read);
    if (code != Code::Ok) return code;
    code = read_header_and_index(context, param);
    CASFBase::DestroyReader(&context->reader);
    return code;
}

Code asf_open(AsfContext *context) {
    if (!context->opened) {
        const Code code = open_readers(context);
        if (code != Code::Ok) return code;
        context->opened = true;
        if (context->base->IsLocal()) look_ahead(context);
    }
    asf_rewind(context);
    return Code::Ok;
}

}  // namespace quorv
