// Writing an INI file back; see the header.

#include "platform/IniWriteBack.h"

#include <string.h>

#include <algorithm>

#include "platform/FileReplacement.h"
#include "platform/IniFile.h"
#include "platform/IniLine.h"

namespace quorv {
namespace {

enum [[nodiscard]] WriteBackResult : uint32_t{
    kWritten = 0,
    kWriteFailed = 110,      // a write to the new file came back short
    kReadFailed = 111,       // a read or seek of the source failed
    kNoTemporaryFile = 112,  // the new file could not be created
    kLineTooLong = 200       // a line could not be read back
};

// Makes the new text. Each step returns a WriteBackResult; the first that is not
// kWritten ends the work.
class IniWriter {
public:
    IniWriter(MIniFile *ini, MStream out)
        : ini_(ini), out_(out), source_size_(MStreamGetSize(ini->source.get())) {}

    WriteBackResult write() {
        if (source_size_ < 0) return kReadFailed;
        WriteBackResult result = kWritten;
        for (IniSection *s = ini_->sections.first(); s != nullptr && result == kWritten; s = s->next) {
            result = write_section_line(s);
            for (IniKey *key = s->first_key; key != nullptr && result == kWritten; key = key->next)
                result = write_key(key);
        }
        return result == kWritten ? copy_to(source_size_) : result;
    }

private:
    WriteBackResult write_section_line(const IniSection *section) {
        if (section->state == IniState::Removed) return drop(section->place);
        if (section->state != IniState::New) return kWritten;
        // New sections stand at the end of the file.
        const WriteBackResult copied = copy_to(source_size_);
        if (copied != kWritten) return copied;
        if (strlen(section->name()) + 2 > kMaxIniText) return kLineTooLong;
        return put("[") && put(section->name()) && put("]\r\n") ? kWritten : kWriteFailed;
    }

    WriteBackResult write_key(const IniKey *key) {
        switch (key->state) {
            case IniState::Unchanged:
            case IniState::NewRemoved:
                return kWritten;
            case IniState::Removed:
                return drop(key->place);
            case IniState::Changed: {
                const WriteBackResult dropped = drop(key->place);
                return dropped == kWritten ? put_line(key) : dropped;
            }
            case IniState::New: {
                const WriteBackResult copied =
                    copy_to(key->place.start == 0 ? source_size_ : key->place.start);
                return copied == kWritten ? put_line(key) : copied;
            }
        }
        return kWritten;
    }

    // Copies what stands before a line of the source, and passes over the line.
    WriteBackResult drop(IniPlace place) {
        const WriteBackResult copied = copy_to(place.start);
        copied_ = place.end;
        return copied;
    }

    // Copies the source from where the last copy or dropped line ended; the text copied gets a line ending
    // when it has none.
    WriteBackResult copy_to(intptr_t end) {
        if (end <= copied_) return kWritten;
        if (MStreamSeek(ini_->source.get(), MSTREAM_SEEK_START, copied_) != 0) return kReadFailed;
        char last = 0;
        while (copied_ < end) {
            const auto piece = static_cast<int32_t>(std::min(end - copied_, intptr_t{kIniBufferSize}));
            if (MStreamRead(ini_->source.get(), ini_->buffer.get(), piece) != piece) return kReadFailed;
            if (MStreamWrite(out_, ini_->buffer.get(), piece) != piece) return kWriteFailed;
            last = ini_->buffer[static_cast<size_t>(piece) - 1];
            copied_ += piece;
        }
        return last == '\n' || put("\r\n") ? kWritten : kWriteFailed;
    }

    WriteBackResult put_line(const IniKey *key) {
        if (strlen(key->name()) + 1 + strlen(key->value) > kMaxIniText) return kLineTooLong;
        return put(key->name()) && put("=") && put(key->value) && put("\r\n") ? kWritten : kWriteFailed;
    }

    bool put(const char *text) {
        const auto length = static_cast<int32_t>(strlen(text));
        return MStreamWrite(out_, text, length) == length;
    }

    MIniFile *ini_;
    MStream out_;
    intptr_t source_size_;
    intptr_t copied_ = 0;  // offset in the source up to which it was copied or passed over
};

WriteBackResult write_new_text(MIniFile *ini, MStream out) {
    return out == nullptr ? kNoTemporaryFile : IniWriter(ini, out).write();
}

}  // namespace

bool write_back_ini_file(MIniFile *ini) {
    FileReplacement replacement(ini->path.get(), ini->source.get());
    return write_new_text(ini, replacement.stream()) == kWritten && replacement.put_in_place();
}

}  // namespace quorv
