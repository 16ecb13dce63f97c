// Writing an INI file back: a temporary file takes the untouched bytes of the old one and the new lines, and
// replaces the old one when it is complete.

#include <limits.h>
#include <quorv/platform/strings.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "platform/IniFile.h"
#include "platform/IniLine.h"
#include "platform/NarrowPath.h"

namespace quorv {
namespace {

enum WriteBackResult : uint32_t {
    kWritten = 0,
    kWriteFailed = 110,      // a write to the temporary file came back short
    kReadFailed = 111,       // a read or seek of the source failed
    kNoTemporaryFile = 112,  // the temporary file could not be created
    kLineTooLong = 200       // a line could not be read back
};

// Makes the contents of the temporary file. Each step returns a WriteBackResult; the first that is not
// kWritten ends the work.
class IniWriter {
public:
    IniWriter(MIniFile *ini, MStream out) : ini_(ini), out_(out), source_size_(MStreamGetSize(ini->source)) {}

    WriteBackResult write() {
        if (source_size_ < 0) return kReadFailed;
        WriteBackResult result = kWritten;
        for (IniSection *s = ini_->first_section; s != nullptr && result == kWritten; s = s->next) {
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
        if (strlen(section->name) + 2 > kMaxIniText) return kLineTooLong;
        return put("[") && put(section->name) && put("]\r\n") ? kWritten : kWriteFailed;
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
        if (MStreamSeek(ini_->source, MSTREAM_SEEK_START, copied_) != 0) return kReadFailed;
        char last = 0;
        while (copied_ < end) {
            const intptr_t left = end - copied_;
            const int32_t piece =
                static_cast<int32_t>(left < intptr_t{kIniBufferSize} ? left : intptr_t{kIniBufferSize});
            if (MStreamRead(ini_->source, ini_->buffer, piece) != piece) return kReadFailed;
            if (MStreamWrite(out_, ini_->buffer, piece) != piece) return kWriteFailed;
            last = ini_->buffer[piece - 1];
            copied_ += piece;
        }
        return last == '\n' || put("\r\n") ? kWritten : kWriteFailed;
    }

    WriteBackResult put_line(const IniKey *key) {
        if (strlen(key->name) + 1 + strlen(key->value) > kMaxIniText) return kLineTooLong;
        return put(key->name) && put("=") && put(key->value) && put("\r\n") ? kWritten : kWriteFailed;
    }

    bool put(const char *text) {
        const int32_t length = static_cast<int32_t>(strlen(text));
        return MStreamWrite(out_, text, length) == length;
    }

    MIniFile *ini_;
    MStream out_;
    intptr_t source_size_;
    intptr_t copied_ = 0;  // offset in the source up to which it was copied or passed over
};

// The settings may be private, and the temporary file may come to replace the file.
void copy_permissions(const char *from, const char *to) {
    struct stat status;
    if (stat(from, &status) == 0) chmod(to, status.st_mode & 07777);
}

// What an earlier save had to leave at the temporary path may be the only whole file there is: it is moved
// out of the way. False when that fails.
bool keep_earlier_file(const char *temporary_path) {
    struct stat status;
    if (lstat(temporary_path, &status) != 0 || !S_ISREG(status.st_mode)) return true;
    char kept[PATH_MAX];
    return snprintf(kept, sizeof kept, "%s_old", temporary_path) < PATH_MAX &&
           MStreamFileRenameS(temporary_path, kept) != 0;
}

WriteBackResult write_temporary_file(MIniFile *ini) {
    if (!keep_earlier_file(ini->temporary_path)) return kNoTemporaryFile;
    MStreamRecord *const out = MStreamFileCreateS(ini->temporary_path);
    if (out == nullptr) return kNoTemporaryFile;
    copy_permissions(ini->path, ini->temporary_path);
    const WriteBackResult result = IniWriter(ini, out).write();
    // Buffered bytes reach the disk here, if they do.
    const bool closed = MStreamClose(out) != 0;
    return result == kWritten && !closed ? kWriteFailed : result;
}

bool copy_over(const char *path, const char *source) {
    uint16_t wide_path[kNarrowPathRoom];
    uint16_t wide_source[kNarrowPathRoom];
    if (strlen(path) >= kNarrowPathRoom || strlen(source) >= kNarrowPathRoom) return false;
    MCharToWChar(path, wide_path, kNarrowPathRoom);
    MCharToWChar(source, wide_source, kNarrowPathRoom);
    return MStreamFileCopyS(wide_path, wide_source) != 0;
}

// Whether the file can be written, or is gone and can be made again. To take its place by renaming would work
// for a file that must not be written, too, since that asks for permission to write to the folder alone.
bool may_be_replaced(const char *path) {
    MStreamRecord *const file = MStreamOpenFromFileS(path, MSTREAM_OPEN_READ_WRITE);
    if (file == nullptr) return is_missing(path);
    MStreamClose(file);
    return true;
}

}  // namespace

bool write_back_ini_file(MIniFile *ini) {
    const WriteBackResult result = write_temporary_file(ini);
    MStreamClose(ini->source);
    ini->source = nullptr;
    if (result == kNoTemporaryFile) return false;
    if (result != kWritten || !may_be_replaced(ini->path)) {
        MStreamFileDeleteS(ini->temporary_path);
        return false;
    }
    // Copying keeps the file's identity (its links and its owner), but a copy that fails leaves it in pieces;
    // then the temporary file takes its place, or stays as the only whole one.
    if (copy_over(ini->path, ini->temporary_path)) {
        MStreamFileDeleteS(ini->temporary_path);
        return true;
    }
    return MStreamFileRenameS(ini->temporary_path, ini->path) != 0;
}

}  // namespace quorv
