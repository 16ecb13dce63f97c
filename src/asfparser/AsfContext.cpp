// Making and freeing the splitter's record.

#include "asfparser/AsfContext.h"

#include "splitter/NewRecord.h"

namespace quorv {

namespace {

// Until the header says something else.
constexpr uint32_t kDefaultPacketSize = 4096;

}  // namespace

void asf_clear_header(AsfHeader *header) {
    MMemFree(nullptr, header->video.type_data);
    *header = AsfHeader{};
    header->packet_size = kDefaultPacketSize;
    header->video.codec_data.first = true;
    for (AsfStreamSlot &slot : header->slots)
        slot.stream_number = kAsfNoStream;
}

AsfContext *asf_new_context(const SplitterStreamSource &source) {
    auto *context = new_record<AsfContext>();
    if (context == nullptr) return nullptr;
    context->source = source;
    asf_clear_header(&context->header);
    context->base = new CASFBase(&context->source);
    if (context->base != nullptr) {
        context->data_parser = new CASFDataObjectParser(context->base);
        context->index_parser = new CASFSimpleIndexObjectParser(context->base, context->data_parser);
    }
    if (context->data_parser != nullptr && context->index_parser != nullptr) return context;
    asf_free_context(context);
    return nullptr;
}

void asf_free_context(AsfContext *context) {
    asf_clear_header(&context->header);
    if (context->base != nullptr && context->opened) context->base->DestroyReader(&context->reader);
    delete context->index_parser;
    delete context->data_parser;
    delete context->base;
    MMemFree(nullptr, context);
}

}  // namespace quorv
