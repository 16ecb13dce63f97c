// Reading an INI file; see the header.

#include "platform/IniParser.h"

#include <string.h>

#include "platform/IniFile.h"
#include "platform/IniLine.h"

namespace quorv {
namespace {

class IniParser {
public:
    explicit IniParser(MIniFile *ini) : ini_(ini), buffer_(ini->buffer.get()) {}

    bool parse() {
        for (;;) {
            if (!fill()) return false;
            if (!take_lines()) return false;
            if (at_end_) return true;
        }
    }

private:
    // Fills the buffer behind the incomplete line it begins with. At the end of the file that line gets an
    // ending, in the buffer only.
    bool fill() {
        if (filled_ == kIniBufferSize) return false;  // a line that does not fit
        // A file whose size the offsets cannot hold.
        if (buffer_offset_ > INTPTR_MAX - static_cast<intptr_t>(kIniBufferSize)) return false;
        const size_t room = kIniBufferSize - filled_;
        const int32_t got = MStreamRead(ini_->source.get(), buffer_ + filled_, static_cast<int32_t>(room));
        ini_->digest.add(buffer_ + filled_, static_cast<size_t>(got));
        filled_ += static_cast<size_t>(got);
        if (static_cast<size_t>(got) == room) return true;
        if (file_stream_failed(ini_->source.get())) return false;
        at_end_ = true;
        file_size_ = buffer_offset_ + static_cast<intptr_t>(filled_);
        if (filled_ > 0 && buffer_[filled_ - 1] != '\n') return add_last_ending();
        return true;
    }

    bool add_last_ending() {
        // Whole lines before the last one make room for its ending.
        if (!take_lines() || filled_ > kMaxIniText) return false;
        memcpy(buffer_ + filled_, "\r\n", 2);
        filled_ += 2;
        return true;
    }

    // Takes the complete lines out of the buffer.
    bool take_lines() {
        size_t taken = 0;
        for (;;) {
            const IniLine line = classify_ini_line({buffer_ + taken, filled_ - taken});
            if (line.line_class == IniLineClass::Incomplete) break;
            if (line.text_length > kMaxIniText || !add(line, taken)) return false;
            taken += line.length;
        }
        filled_ -= taken;
        memmove(buffer_, buffer_ + taken, filled_);
        buffer_offset_ += static_cast<intptr_t>(taken);
        return true;
    }

    bool add(const IniLine &line, size_t at) {
        IniPlace place;
        place.start = buffer_offset_ + static_cast<intptr_t>(at);
        place.end = place.start + static_cast<intptr_t>(line.length);
        if (at_end_ && place.end > file_size_) place.end = file_size_;  // the ending that only the buffer has
        IniSections &sections = ini_->sections;
        if (line.line_class == IniLineClass::Section)
            return sections.append(line.name, place, IniState::Unchanged) != nullptr;
        if (line.line_class == IniLineClass::Key && sections.last() != nullptr)
            return sections.append_key(sections.last(), line.name, line.value, place, IniState::Unchanged) !=
                   nullptr;
        return true;
    }

    MIniFile *ini_;
    char *buffer_;
    size_t filled_ = 0;
    intptr_t buffer_offset_ = 0;  // of the buffer's first byte in the file
    intptr_t file_size_ = 0;      // known at the end
    bool at_end_ = false;
};

}  // namespace

bool parse_ini_file(MIniFile *ini) {
    return IniParser(ini).parse();
}

}  // namespace quorv
