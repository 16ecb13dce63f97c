// Saving edits of an INI file that somebody else has changed; see the header.

#include "platform/IniMerge.h"

#include "platform/FileReplacement.h"
#include "platform/IniFile.h"
#include "platform/IniLine.h"

namespace quorv {
namespace {

// Repeats what was done to a key; false when that fails. What is to be removed may be gone already. What was
// made and removed again leaves nothing to do: others may have made it since.
bool repeat_edit(const IniSection *section, const IniKey *key, MIniFile *current) {
    switch (key->state) {
        case IniState::Unchanged:
        case IniState::NewRemoved:
            break;
        case IniState::Removed:
            MIniRemoveS(current, section->name(), key->name());
            break;
        case IniState::Changed:
        case IniState::New:
            return MIniWriteSingleS(current, section->name(), key->name(), MINI_TYPE_STRING, key->value, 1) !=
                   0;
    }
    return true;
}

bool repeat_edits(const IniSection *section, MIniFile *current) {
    if (section->state == IniState::Removed) MIniRemoveS(current, section->name(), nullptr);
    if (is_removed(section->state)) return true;
    for (const IniKey *key = section->first_key; key != nullptr; key = key->next) {
        if (!repeat_edit(section, key, current)) return false;
    }
    return true;
}

}  // namespace

IniComparison compare_with_file(MIniFile *ini) {
    const OwnedStream file(MStreamOpenFromFileS(ini->path.get(), MSTREAM_OPEN_READ));
    // When the file is gone, the stream that is still open has what was read.
    if (file == nullptr) return is_missing(ini->path.get()) ? IniComparison::Same : IniComparison::Unknown;
    IniDigest digest;
    int32_t got;
    do {
        got = MStreamRead(file.get(), ini->buffer.get(), static_cast<int32_t>(kIniBufferSize));
        digest.add(ini->buffer.get(), static_cast<size_t>(got));
    } while (got > 0);
    if (file_stream_failed(file.get())) return IniComparison::Unknown;
    return digest == ini->digest ? IniComparison::Same : IniComparison::Different;
}

bool save_to_changed_file(const MIniFile *ini) {
    MIniFile *current = MIniStartS(ini->path.get());
    if (current == nullptr) return false;
    bool repeated = true;
    for (const IniSection *s = ini->sections.first(); s != nullptr && repeated; s = s->next)
        repeated = repeat_edits(s, current);
    current->is_repetition = true;
    if (!repeated) current->modified = false;
    return MIniEndS(current) == 1 && repeated;
}

}  // namespace quorv
