// Typed calls into the caller's stream; see the header.

#include "splitter/StreamSource.h"

#include <string.h>

#include <algorithm>

#include "splitter/ReadMark.h"

namespace quorv {

namespace {
constexpr int64_t kUnknownPosition = -1;

void clear_rest(void *buffer, uint32_t count, uint32_t delivered) {
    if (delivered < count) memset(static_cast<uint8_t *>(buffer) + delivered, 0, count - delivered);
}

}  // namespace

bool is_complete(const SplitterStreamSource *source) {
    return source != nullptr && source->open != nullptr && source->close != nullptr &&
           source->read != nullptr && source->seek != nullptr && source->tell != nullptr &&
           source->size != nullptr;
}

Code StreamSource::open(StreamAccess access) {
    stream = 0;
    position = stands_at = kUnknownPosition;
    end_of_honesty = INT64_MAX;
    return Code{callbacks.open(callbacks.user_context, &stream, static_cast<uint32_t>(access))};
}

Code StreamSource::close() {
    return Code{callbacks.close(callbacks.user_context, stream)};
}

// What was read ahead and has not arrived is not noted: nobody has asked for it.
Code StreamSource::noted(Code code) {
    if (code == Code::DataPending) met_pending = true;
    return code;
}

Code StreamSource::read(void *buffer, uint32_t count, uint32_t *delivered) {
    const bool ahead = reads_ahead() && position >= 0;
    const Code code = ahead ? read_available(buffer, count, delivered) : read_once(buffer, count, delivered);
    if (!ahead) position = stands_at;
    clear_rest(buffer, count, *delivered);
    return noted(code);
}

Code StreamSource::read_available(void *buffer, uint32_t count, uint32_t *delivered) {
    if (reads_ahead() && position >= 0)
        return noted(read_through_window(static_cast<uint8_t *>(buffer), count, delivered));
    const Code code = stream_read(buffer, count, delivered);
    position = stands_at;
    return noted(code);
}

Code StreamSource::read_fully(void *buffer, uint32_t count, uint32_t *delivered) {
    const Code code = read_available(buffer, count, delivered);
    clear_rest(buffer, count, *delivered);
    return code;
}

Code StreamSource::read_at(int64_t start, void *buffer, uint32_t count, uint32_t *delivered) {
    *delivered = 0;
    const Code code = move_to(start);
    return code == Code::Ok ? read_fully(buffer, count, delivered) : code;
}

Code StreamSource::read_through_window(uint8_t *buffer, uint32_t count, uint32_t *delivered) {
    uint32_t done = window->copy(position, buffer, count);
    Code code = Code::Ok;
    if (count - done >= ReadWindow::kDirectBytes) {
        window->pass(position, count);
    } else {
        window->count_used(done);
    }
    if (done < count) {
        const int64_t start = position + done;
        uint32_t came = 0;
        if (read_run(start, 0, count - done)) {
            came = window->copy(start, buffer + done, count - done);
            window->count_used(came);
        } else {
            code = stream_read_at(start, buffer + done, count - done, &came);
        }
        done += came;
    }
    if (__builtin_add_overflow(position, int64_t{done}, &position)) position = kUnknownPosition;
    *delivered = done;
    return code;
}

Code StreamSource::view(int64_t start, uint32_t needed, uint32_t wanted, const uint8_t **bytes) {
    const bool is_header = needed == SeenChunks::kHeaderBytes;
    *bytes = is_header ? window->seen().find_header(start) : nullptr;
    if (*bytes != nullptr) return Code::Ok;
    Code code = Code::Ok;
    ReadWindow::Bytes found = window->find(start, needed);
    if (found.length < needed) {
        code = bring(start, found.length, needed, reads_ahead() ? needed : wanted);
        found = window->find(start, needed);
    }
    // A failure behind the bytes that are needed matters only when the caller comes as far.
    if (found.length < needed) return noted(code);
    window->count_used(needed);
    if (is_header) window->keep_header(start, found.data);
    *bytes = found.data;
    return Code::Ok;
}

// Brings `wanted` bytes into the window, of which so many are there already.
Code StreamSource::bring(int64_t start, uint32_t there, uint32_t needed, uint32_t wanted) {
    if (read_run(start + there, there, needed - there)) return Code::Ok;
    uint8_t *room = window->make_room(start, there, wanted - there);
    uint32_t came = 0;
    const Code code = stream_read_at(start + there, room, wanted - there, &came);
    window->add(came);
    if (!reads_ahead()) position = stands_at;
    return code;
}

// Reads ahead at a place where so many bytes are missing behind those that are there; whether they are there
// now.
bool StreamSource::read_run(int64_t start, uint32_t there, uint32_t missing) {
    if (!reads_ahead()) return false;
    ReadWindow::Run run = window->run_for(start, missing, end_of_honesty);
    run.length = std::min(run.length, window->capacity() - there);
    if (run.length <= missing) return false;
    uint32_t came = 0;
    uint8_t *room = window->make_room(run.start - there, there, run.length);
    if (stream_read_at(run.start, room, run.length, &came) != Code::Ok || came < run.length) {
        window->refuse(run);
        return false;
    }
    window->add(came);
    return true;
}

Code StreamSource::stream_read_at(int64_t start, void *buffer, uint32_t count, uint32_t *delivered) {
    *delivered = 0;
    if (stands_at != start) {
        const Code code = stream_seek(SeekOrigin::Start, start);
        if (code != Code::Ok) return code;
    }
    return stream_read(buffer, count, delivered);
}

Code StreamSource::stream_read(void *buffer, uint32_t count, uint32_t *delivered) {
    const int64_t start = stands_at;
    ReadMark mark(buffer, count);
    const Code code = read_repeatedly(buffer, count, delivered);
    const bool suspicious = code == Code::Ok && *delivered == count && mark.stands();
    mark.lift(*delivered);
    // Without a way back the suspicion cannot be proved.
    if (!suspicious || start < 0 || stream_seek(SeekOrigin::Start, start) != Code::Ok) return code;
    return read_again(buffer, count, delivered);
}

// Once more, now that another value is where the mark was.
Code StreamSource::read_again(void *buffer, uint32_t count, uint32_t *delivered) {
    const int64_t start = stands_at;
    fill_for_second_read(buffer, count);
    const Code code = read_repeatedly(buffer, count, delivered);
    const uint32_t written = written_by_second_read(buffer, count);
    if (code == Code::Ok && written < *delivered) {
        *delivered = written;
        end_of_honesty = start + int64_t{written};
        stands_at = kUnknownPosition;
    }
    clear_rest(buffer, count, *delivered);
    return code;
}

Code StreamSource::read_repeatedly(void *buffer, uint32_t count, uint32_t *delivered) {
    uint32_t done = 0;
    *delivered = 0;
    while (done < count) {
        uint32_t got = 0;
        const Code code = read_once(static_cast<uint8_t *>(buffer) + done, count - done, &got);
        if (code != Code::Ok) return code;
        if (got == 0) break;
        done += got;
        *delivered = done;
    }
    return Code::Ok;
}

Code StreamSource::read_once(void *buffer, uint32_t count, uint32_t *delivered) {
    *delivered = 0;
    if (stands_at >= end_of_honesty) return Code::Ok;
    if (stands_at >= 0) count = static_cast<uint32_t>(std::min<int64_t>(count, end_of_honesty - stands_at));
    uint32_t got = count;
    const Code code{callbacks.read(callbacks.user_context, stream, buffer, &got)};
    // After a failure the buffer's contents mean nothing; a source that claims more than was asked for lies.
    if (code != Code::Ok) got = 0;
    if (got > count) got = count;
    // Sources differ in where a read that fell short leaves them.
    int64_t behind = 0;
    const bool certain =
        stands_at >= 0 && got == count && !__builtin_add_overflow(stands_at, int64_t{got}, &behind);
    stands_at = certain ? behind : kUnknownPosition;
    *delivered = got;
    return code;
}

Code StreamSource::seek(SeekOrigin origin, int64_t offset) {
    int64_t target = offset;
    const bool certain =
        origin == SeekOrigin::Start || (position >= 0 && !__builtin_add_overflow(position, offset, &target));
    if (reads_ahead() && certain && target >= 0) {
        position = target;
        return Code::Ok;
    }
    const Code code = stream_seek(origin, offset);
    position = stands_at;
    return noted(code);
}

Code StreamSource::stream_seek(SeekOrigin origin, int64_t offset) {
    const Code code{callbacks.seek(callbacks.user_context, stream, static_cast<uint16_t>(origin), offset)};
    if (code != Code::Ok) {
        stands_at = kUnknownPosition;
    } else if (origin == SeekOrigin::Start) {
        stands_at = offset;
    } else if (stands_at >= 0) {
        // A relative seek that leaves the range of positions is the source's to judge.
        if (__builtin_add_overflow(stands_at, offset, &stands_at)) stands_at = kUnknownPosition;
    }
    return code;
}

Code StreamSource::move_to(int64_t offset) {
    if (offset >= 0 && position == offset) return Code::Ok;
    return seek(SeekOrigin::Start, offset);
}

Code StreamSource::tell(int64_t *result) {
    *result = 0;
    if (reads_ahead() && position >= 0) {
        *result = position;
        return Code::Ok;
    }
    return noted(Code{callbacks.tell(callbacks.user_context, stream, result)});
}

Code StreamSource::size(int64_t *length) {
    *length = 0;
    const Code code{callbacks.size(callbacks.user_context, stream, length)};
    if (window != nullptr) window->set_end(code == Code::Ok ? *length : 0);
    return noted(code);
}

}  // namespace quorv
