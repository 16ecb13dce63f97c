// Tags by TagLib; see the header.

#include "LibraryTags.h"

#include <taglib/asffile.h>
#include <taglib/asfpicture.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string_view>

#include "Failure.h"

namespace quorv::tool {

namespace {

// More in a row are none that somebody would have written.
constexpr int kMostTags = 8;
// How far frames are looked through for tags between them.
constexpr uint64_t kSearchedBytes = 4 << 20;
// No text of a tag that a person reads is longer; lists of bytes in base 64 are.
constexpr size_t kLongestTagText = 4096;

// The input from a place on, to be read only.
class SourceStream : public TagLib::IOStream {
public:
    SourceStream(FileSource &file, uint64_t begin) : file_(file), begin_(begin) {}

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override {
        // What a tag claims to hold is not believed beyond the file's end.
        const uint64_t left = static_cast<uint64_t>(this->length() - position_);
        const auto size = static_cast<unsigned>(
            std::min<uint64_t>({length, left, static_cast<uint64_t>(std::numeric_limits<int>::max())}));
        TagLib::ByteVector bytes(size, 0);
        size_t got = 0;
        try {
            if (size != 0)
                got = file_.read_at(begin_ + static_cast<uint64_t>(position_),
                                    {reinterpret_cast<uint8_t *>(bytes.data()), size});
        } catch (const Failure &) {
            // Whoever opened the file asks it for its first error.
        }
        position_ += static_cast<long>(got);
        return bytes.resize(static_cast<unsigned>(got));
    }
    void writeBlock(const TagLib::ByteVector &) override {}
    void insert(const TagLib::ByteVector &, unsigned long, unsigned long) override {}
    void removeBlock(unsigned long, unsigned long) override {}
    bool readOnly() const override { return true; }
    bool isOpen() const override { return true; }
    void seek(long offset, Position from) override {
        const long base = from == Current ? position_ : from == End ? length() : 0;
        const long most = length() - base;
        position_ = std::max<long>(base + std::clamp(offset, -base, most), 0);
    }
    void clear() override {}
    long tell() const override { return position_; }
    long length() override {
        return static_cast<long>(std::min<uint64_t>(file_.size() - begin_, std::numeric_limits<long>::max()));
    }
    void truncate(long) override {}

private:
    FileSource &file_;
    uint64_t begin_;
    long position_ = 0;
};

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::string shortened(const TagLib::String &text) {
    return text.size() > kLongestTagText ? text.substr(0, kLongestTagText).to8Bit(true) + "..."
                                         : text.to8Bit(true);
}

// What people look for comes first, in this order.
constexpr const char *kFirst[] = {"TITLE", "ARTIST", "ALBUM", "ALBUMARTIST", "TRACKNUMBER", "DATE", "GENRE"};

void add_properties(const TagLib::PropertyMap &properties, Tags *tags) {
    for (const char *name : kFirst) {
        if (properties.contains(name))
            tags->add(lower_case(name), shortened(properties[name].toString(", ")));
    }
    for (const auto &[name, values] : properties)
        tags->add(lower_case(name.to8Bit(true)), shortened(values.toString(", ")));
}

void add_pictures(const TagLib::ID3v2::Tag &tag, Tags *tags) {
    for (const char *id : {"APIC", "PIC"}) {
        for (const TagLib::ID3v2::Frame *frame : tag.frameList(id)) {
            const auto *picture = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame *>(frame);
            if (picture != nullptr)
                tags->add_cover({picture->mimeType().to8Bit(true), picture->picture().size()});
        }
    }
}

// Where the ID3v2 tag ends that begins there; nothing when there is none.
std::optional<uint64_t> end_of_tag(FileSource &file, uint64_t begin) {
    std::array<uint8_t, 10> head = {};
    if (file.read_at(begin, head) < head.size() || head[0] != 'I' || head[1] != 'D' || head[2] != '3')
        return {};
    uint64_t size = head.size();
    uint64_t told = 0;
    for (size_t i = 6; i < head.size(); ++i)
        told = told << 7 | (head[i] & 0x7F);
    const bool has_footer = (head[5] & 0x10) != 0;
    size += told + (has_footer ? head.size() : 0);
    return file.size() - begin < size ? std::optional<uint64_t>() : begin + size;
}

// What looks like the beginning of a tag among frames is one when its version and its size can be ones.
bool is_tag_header(std::string_view head) {
    constexpr size_t kBytes = 10, kSize = 6;
    if (head.size() < kBytes || head[3] < 2 || head[3] > 4 || head[4] != 0 || (head[5] & 0x0F) != 0)
        return false;
    const std::string_view size = head.substr(kSize, kBytes - kSize);
    return std::all_of(size.begin(), size.end(), [](char c) { return static_cast<uint8_t>(c) < 0x80; });
}

// The tag that begins there, without those at the end of the file.
void add_tag(FileSource &file, uint64_t begin, Tags *tags) {
    SourceStream stream(file, begin);
    TagLib::MPEG::File media(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
    if (!media.hasID3v2Tag()) return;
    add_properties(media.ID3v2Tag()->properties(), tags);
    add_pictures(*media.ID3v2Tag(), tags);
}

// Between frames, as joined files have them.
void add_later_tags(FileSource &file, uint64_t begin, Tags *tags) {
    if (begin >= file.size()) return;
    std::string bytes(static_cast<size_t>(std::min(file.size() - begin, kSearchedBytes)), '\0');
    bytes.resize(file.read_at(begin, {reinterpret_cast<uint8_t *>(bytes.data()), bytes.size()}));
    size_t at = 0;
    for (int found = 0; found < kMostTags && (at = bytes.find("ID3", at)) != std::string::npos;) {
        const std::optional<uint64_t> end = end_of_tag(file, begin + at);
        if (end && is_tag_header(std::string_view(bytes).substr(at))) {
            add_tag(file, begin + at, tags);
            at = static_cast<size_t>(std::min<uint64_t>(*end - begin, bytes.size()));
            ++found;
        } else {
            ++at;
        }
    }
}

// Attributes that say what tags of other files have names for.
void add_attributes(const TagLib::ASF::AttributeListMap &attributes, Tags *tags) {
    for (const auto &[name, values] : attributes) {
        if (name == "WM/Picture") {
            for (const TagLib::ASF::Attribute &value : values) {
                const TagLib::ASF::Picture picture = value.toPicture();
                if (picture.isValid())
                    tags->add_cover({picture.mimeType().to8Bit(true), picture.picture().size()});
            }
            continue;
        }
        const TagLib::ASF::Attribute &value = values.front();
        const TagLib::ASF::Attribute::AttributeTypes type = value.type();
        if (type == TagLib::ASF::Attribute::UnicodeType) {
            tags->add(lower_case(name.to8Bit(true)), shortened(value.toString()));
        } else if (type == TagLib::ASF::Attribute::BoolType) {
            tags->add(lower_case(name.to8Bit(true)), value.toBool() ? "yes" : "no");
        } else if (type == TagLib::ASF::Attribute::DWordType || type == TagLib::ASF::Attribute::WordType) {
            tags->add(lower_case(name.to8Bit(true)), std::to_string(value.toUInt()));
        }
    }
}

}  // namespace

void read_mpeg_audio_tags(FileSource &file, uint64_t stated_end, Tags *tags) {
    SourceStream stream(file, 0);
    TagLib::MPEG::File media(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
    add_properties(media.properties(), tags);
    if (media.hasID3v2Tag()) add_pictures(*media.ID3v2Tag(), tags);
    uint64_t begin = end_of_tag(file, 0).value_or(0);
    for (int i = 1; i < kMostTags && begin != 0; ++i) {
        const std::optional<uint64_t> end = end_of_tag(file, begin);
        if (!end) break;
        add_tag(file, begin, tags);
        begin = *end;
    }
    add_later_tags(file, std::max(begin, stated_end), tags);
}

void read_asf_tags(FileSource &file, Tags *tags) {
    SourceStream stream(file, 0);
    TagLib::ASF::File media(&stream, false);
    if (!media.isValid() || media.tag() == nullptr) return;
    add_properties(media.properties(), tags);
    TagLib::PropertyMap mapped = media.properties();
    TagLib::ASF::AttributeListMap unmapped;
    for (const TagLib::String &name : mapped.unsupportedData()) {
        if (media.tag()->contains(name)) unmapped[name] = media.tag()->attribute(name);
    }
    add_attributes(unmapped, tags);
    const TagLib::ASF::Properties *sound = media.audioProperties();
    if (sound == nullptr) return;
    tags->add("sound codec", shortened(sound->codecName()));
    tags->add("sound codec settings", shortened(sound->codecDescription()));
}

}  // namespace quorv::tool
