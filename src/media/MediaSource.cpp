// The caller's source as the splitters read one; see the header.

#include "media/MediaSource.h"

namespace quorv {

MediaSource::~MediaSource() {
    if (caller_.close != nullptr) caller_.close(caller_.user);
}

SplitterStreamSource MediaSource::callbacks() {
    SplitterStreamSource table = {};
    table.user_context = this;
    table.source_kind = SPLITER_SOURCE_LOCAL;
    table.open = [](void *self, SplitterStream *stream, uint32_t) {
        return static_cast<MediaSource *>(self)->open(stream);
    };
    table.close = [](void *self, SplitterStream stream) {
        return static_cast<MediaSource *>(self)->close(stream);
    };
    table.read = [](void *self, SplitterStream stream, void *buffer, uint32_t *count) {
        return static_cast<MediaSource *>(self)->read(stream, buffer, count);
    };
    table.seek = [](void *self, SplitterStream stream, uint16_t origin, int64_t offset) {
        return static_cast<MediaSource *>(self)->seek(stream, origin, offset);
    };
    table.tell = [](void *self, SplitterStream stream, int64_t *position) {
        return static_cast<MediaSource *>(self)->tell(stream, position);
    };
    table.size = [](void *self, SplitterStream, int64_t *length) {
        const Code code = static_cast<MediaSource *>(self)->size(length);
        return to_public(code == Code::Ok && *length < 0 ? Code::Unsupported : code);
    };
    return table;
}

uint32_t MediaSource::open(SplitterStream *stream) {
    uint64_t *const place = std::find(positions_.begin(), positions_.end(), kNotOpen);
    if (place == positions_.end()) return to_public(Code::NoMemory);
    *place = 0;
    *stream = static_cast<SplitterStream>(place - positions_.begin());
    return SPLITER_OK;
}

uint32_t MediaSource::close(SplitterStream stream) {
    positions_[stream] = kNotOpen;
    return SPLITER_OK;
}

uint32_t MediaSource::read(SplitterStream stream, void *buffer, uint32_t *count) {
    size_t got = 0;
    const Code code = read_at(positions_[stream], buffer, *count, &got);
    *count = static_cast<uint32_t>(got);
    if (code == Code::Ok) positions_[stream] += got;
    return to_public(code);
}

uint32_t MediaSource::seek(SplitterStream stream, uint16_t origin, int64_t offset) {
    const auto from = origin == SPLITER_ORIGIN_CURRENT ? static_cast<int64_t>(positions_[stream]) : 0;
    int64_t target = 0;
    if (__builtin_add_overflow(from, offset, &target) || target < 0) return to_public(Code::InvalidParam);
    positions_[stream] = static_cast<uint64_t>(target);
    return SPLITER_OK;
}

uint32_t MediaSource::tell(SplitterStream stream, int64_t *position) const {
    *position = static_cast<int64_t>(positions_[stream]);
    return SPLITER_OK;
}

void MediaSource::begin_call() {
    lacks_bytes_ = false;
    failure_ = 0;
}

void MediaSource::forget_interruption() {
    if (!keeps_journal_) return;
    keeps_journal_ = false;
    journal_.clear();
}

Code MediaSource::explain_end() const {
    if (lacks_bytes_) return Code::DataPending;
    return failure_ != 0 ? kSourceFailed : Code::EndOfStream;
}

// Of an answer below 0.
Code MediaSource::note(int64_t answer) {
    if (answer == QUORV_SOURCE_AGAIN) {
        lacks_bytes_ = keeps_journal_ = true;
        return Code::DataPending;
    }
    failure_ = answer;
    return kSourceFailed;
}

Code MediaSource::read_once(uint64_t offset, void *buffer, size_t size, size_t *got) {
    if (keeps_journal_) {
        if (journal_.find(offset, buffer, size, got)) return Code::Ok;
        size = journal_.unknown_bytes(offset, size);
    }
    const int64_t answer = caller_.read_at(caller_.user, offset, buffer, size);
    if (answer < 0) return note(answer);
    *got = static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(answer), size));
    return keeps_journal_ && !journal_.add(offset, buffer, *got) ? Code::NoMemory : Code::Ok;
}

Code MediaSource::read_at(uint64_t offset, void *buffer, size_t size, size_t *got) {
    *got = 0;
    while (*got < size) {
        size_t more = 0;
        const Code code = read_once(offset + *got, static_cast<uint8_t *>(buffer) + *got, size - *got, &more);
        if (code != Code::Ok) return code;
        if (more == 0) break;
        *got += more;
    }
    return Code::Ok;
}

Code MediaSource::size(int64_t *length) {
    if (size_ == QUORV_SOURCE_AGAIN) {
        const int64_t answer = caller_.size(caller_.user);
        if (answer < 0 && answer != QUORV_SOURCE_UNKNOWN) return note(answer);
        size_ = answer;
    }
    *length = size_;
    return Code::Ok;
}

Code MediaSource::holds(uint64_t bytes, bool *answer) {
    int64_t length = 0;
    const Code code = size(&length);
    if (code != Code::Ok) return code;
    *answer = bytes == 0 || (length >= 0 && bytes <= static_cast<uint64_t>(length));
    if (*answer || length >= 0) return Code::Ok;
    uint8_t last = 0;
    size_t got = 0;
    const Code read = read_at(bytes - 1, &last, 1, &got);
    *answer = got == 1;
    return read;
}

}  // namespace quorv
