// Checks one file by its name; see the header.

#include "FileCheck.h"

#include <algorithm>
#include <new>
#include <optional>

#include "Md5.h"
#include "MediaCheck.h"

namespace quorv::tool {

namespace {

// Digests of the tracks and, at the same pace, of the file, which is read from its beginning.
class Digests {
public:
    Digests(FileSource &file, size_t tracks) : file_(file), tracks_(tracks), block_(kBlockBytes) {}

    void take(const Track &track, const QuorvPacket &packet) {
        std::span<const uint8_t> data(static_cast<const uint8_t *>(packet.data), packet.size);
        Md5 &digest = tracks_[track.index];
        while (!data.empty() && has_more()) {
            const size_t count = std::min(data.size(), next_.size());
            Md5::add_both(digest, data.first(count), whole_, next_.first(count));
            data = data.subspan(count);
            next_ = next_.subspan(count);
        }
        digest.add(data);
    }
    // Behind the last packet.
    void tell(CheckResult &result) {
        for (; has_more(); next_ = {})
            whole_.add(next_);
        for (size_t i = 0; i < tracks_.size(); ++i)
            result.tracks[i].md5 = tracks_[i].text();
        result.md5 = whole_.text();
    }

private:
    static constexpr size_t kBlockBytes = 0x10000;

    // Whether bytes of the file are left; some of them are in next_ then.
    bool has_more() {
        if (!next_.empty()) return true;
        next_ = std::span(block_).first(file_.read_at(position_, block_));
        position_ += next_.size();
        return !next_.empty();
    }

    FileSource &file_;
    std::vector<Md5> tracks_;
    Md5 whole_;
    std::vector<uint8_t> block_;
    std::span<const uint8_t> next_;
    uint64_t position_ = 0;
};

CheckResult check_media(FileSource &file, bool digests, const std::function<void(uint64_t)> &progress) {
    MediaCheck check(file);
    std::optional<Digests> md5;
    if (digests) md5.emplace(file, check.media().tracks().size());
    check.run([&](const Track &track, const QuorvPacket &packet) {
        if (md5) md5->take(track, packet);
        progress(file.progress());
    });
    CheckResult result = check.result();
    if (md5) md5->tell(result);
    if (file.has_changed()) throw Failure(ExitCode::Io, "it changed while it was read");
    return result;
}

}  // namespace

CheckResult check_file(const std::string &path, bool digests, const std::function<void(uint64_t)> &progress) {
    CheckResult result;
    try {
        FileSource file(path);
        result = check_media(file, digests, progress);
        progress(file.size());
    } catch (const ForeignFile &failure) {
        result.conclude(Verdict::Foreign, "foreign", failure.what());
    } catch (const Failure &failure) {
        const bool is_damaged = failure.code == ExitCode::BadFile;
        result.conclude(is_damaged ? Verdict::Damaged : Verdict::Unreadable,
                        is_damaged ? "header" : "unreadable", failure.what());
    } catch (const std::bad_alloc &) {
        result.conclude(Verdict::Unreadable, "unreadable", "out of memory");
    }
    result.file = path;
    return result;
}

}  // namespace quorv::tool
