// Reads a whole media file and collects what is wrong with it.
#ifndef QUORV_TOOLS_QUORV_MEDIACHECK_H
#define QUORV_TOOLS_QUORV_MEDIACHECK_H

#include <functional>
#include <optional>
#include <vector>

#include "AviIndexCheck.h"
#include "Finding.h"
#include "MediaFile.h"
#include "TrackCheck.h"

namespace quorv::tool {

class MediaCheck {
public:
    // The file must outlive this object. Throws Failure.
    explicit MediaCheck(FileSource &file);

    MediaFile &media() { return media_; }
    // Reads all packets in the order of their times, and hands each on, if somebody wants it.
    using PacketHandler = std::function<void(const Track &track, const QuorvPacket &packet)>;
    void run(const PacketHandler &handler = {});
    // Behind run(): all but the file's name and digests.
    CheckResult result();

private:
    void take(const QuorvPacket &packet);
    void finish();
    void tell_damage();
    void tell_passed_over(const QuorvRanges &places);
    void tell_places(const QuorvRanges &places, std::string_view kind, std::string_view noun,
                     std::string_view phrase);
    void tell_skipped(const QuorvRanges &places);
    void tell_cut(int64_t bytes_missing);
    void tell_junk();
    void tell_lengths();
    // Of the first packet behind a place.
    struct Follower {
        int64_t time_ms = -1;  // where there is none
        uint32_t track = 0;

        bool operator==(const Follower &) const = default;
    };
    Follower follower_of(int64_t offset) const;
    Finding &add_damage(std::string_view kind, int64_t offset, std::string text);
    uint64_t media_end();

    FileSource &file_;
    MediaFile media_;
    const QuorvContainer container_;
    std::vector<TrackCheck> tracks_;  // of the same indexes as the file's
    std::vector<uint64_t> damage_met_;
    std::optional<AviIndexCheck> index_;
    bool has_bad_parts_ = false;
    std::vector<Finding> findings_;
};

}  // namespace quorv::tool

#endif
