// Making the splitter's record.

#include "asfparser/AsfContext.h"

namespace quorv {

Owned<AsfContext> asf_new_context(const SplitterStreamSource &source) {
    auto context = make_owned<AsfContext>();
    if (context == nullptr) return nullptr;
    context->source = source;
    context->base = std::make_unique<CASFBase>(&context->source);
    if (context->base == nullptr) return nullptr;
    context->data_parser = std::make_unique<CASFDataObjectParser>(context->base.get());
    if (context->data_parser == nullptr) return nullptr;
    context->index_parser = std::make_unique<CASFSimpleIndexObjectParser>(&context->data_parser->Packets());
    return context->index_parser != nullptr ? std::move(context) : nullptr;
}

}  // namespace quorv
