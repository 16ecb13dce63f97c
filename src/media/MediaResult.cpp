// What a call of the interface makes of a code.

#include "media/MediaReader.h"

namespace quorv {

namespace {

QuorvResult result_of(Code code) {
    switch (code) {
        case Code::Ok:
            return QUORV_OK;
        case Code::EndOfStream:
        case Code::SourceAtEnd:
            return QUORV_END;
        case Code::DataPending:
            return QUORV_AGAIN;
        case Code::NoMemory:
            return QUORV_ERR_MEMORY;
        case Code::NoParser:
            return QUORV_ERR_NOT_MEDIA;
        case Code::Unsupported:
            return QUORV_ERR_UNSUPPORTED;
        default:
            return QUORV_ERR_DAMAGED;
    }
}

}  // namespace

// A splitter that has met a failure of the source may have made another code of it.
QuorvResult conclude(QuorvReader *reader, Code code) {
    MediaSource &source = reader->source;
    const bool may_hide_another = code != Code::Ok && code != Code::NoMemory && code != Code::EndOfStream;
    if (may_hide_another && source.explain_end() != Code::EndOfStream) code = source.explain_end();
    if (code != Code::DataPending) source.forget_interruption();
    const bool failed = code == kSourceFailed;
    reader->code = failed ? static_cast<uint32_t>(source.failure()) : to_public(code);
    return failed ? QUORV_ERR_SOURCE : result_of(code);
}

}  // namespace quorv
