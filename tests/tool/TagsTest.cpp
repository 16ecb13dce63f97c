// What files say of themselves is found, and nothing that is broken in it does harm.

#include <gtest/gtest.h>

#include <map>

#include "../../tools/quorv/Tags.h"
#include "support/AsfBuilder.h"
#include "support/AviBuilder.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

using Texts = std::map<std::string, std::string>;

Bytes be32(uint32_t value) {
    return le32(__builtin_bswap32(value));
}

// A frame and a tag of ID3v2.4; both are short, so that sizes of seven bits a byte are plain numbers.
Bytes id3_frame(const std::string &id, const std::string &body) {
    return join({text(id), be32(static_cast<uint32_t>(body.size())), {0, 0}, text(body)});
}
Bytes id3_tag(const Bytes &frames) {
    return join({text("ID3"), {4, 0, 0}, be32(static_cast<uint32_t>(frames.size())), frames});
}

Bytes avi_with_info() {
    AviBuilder builder({video_stream(tag("MJPG"))});
    const Bytes info = join({chunk(tag("INAM"), text("Tr\xE4um")), chunk(tag("ISFT"), text("maker 1 "))});
    builder.between = join({chunk(tag("JUNK"), Bytes(7)), list(tag("INFO"), info)});
    builder.header_extra = chunk(tag("IDIT"), text("2001-02-03\n"));
    Bytes properties = Bytes(68);
    std::copy_n("\x09\0\x10\0", 4, properties.begin() + 20);
    properties[32] = 2;
    builder.streams[0].after_format = chunk(tag("vprp"), properties);
    return builder.frame(0, size_t{20}).build().flatten();
}

Bytes mp3_with_two_tags() {
    const std::string picture = std::string("\0image/png\0\3\0", 13) + std::string(40, 'x');
    const Bytes first = id3_tag(join({id3_frame("TIT2", "\3\xE3\x83\x88"), id3_frame("APIC", picture)}));
    const Bytes second = id3_tag(join({id3_frame("TIT2", "\3other"), id3_frame("TALB", "\3Album")}));
    const Bytes later = id3_tag(join({id3_frame("TALB", "\3other"), id3_frame("TPE1", "\3Later")}));
    return join({first, second, Bytes(300, 0xFF), later});
}

Bytes wide(const std::string &words) {
    Bytes bytes;
    for (const char c : words + '\0')
        append(bytes, le16(static_cast<uint8_t>(c)));
    return bytes;
}
Bytes asf_object(const std::string &guid, const Bytes &body) {
    return join({asf_guid(guid), le64(24 + body.size()), body});
}

// In front of its other headers: texts, a date, names of codecs, and behind them the track's language.
Bytes asf_with_description() {
    Bytes file = AsfBuilder({asf_audio(1)}, {}, AsfIndex::None).frame(0, 3000, 40).build();
    const Bytes texts = join({le16(12), le16(8), le16(0), le16(0), le16(0), wide("Title"), wide("Who")});
    // 12,000,000,000 seconds behind 1601: the day and hour that date -u -d '1601-01-01 +12000000000 sec'
    // gives.
    const Bytes dated = join({Bytes(24), le64(120000000000000000), Bytes(48)});
    const Bytes codecs =
        join({Bytes(16), le32(1), le16(1), le16(4), wide("Vid"), le16(3), wide("V1"), le16(1), {7}});
    const Bytes languages = join({le16(2), {6}, wide("de"), {6}, wide("fr")});
    const Bytes stream = join({Bytes(48), le16(1), le16(1), Bytes(12)});
    const Bytes inner = join({asf_object("7C4346A9-EFE0-4BFC-B229-393EDE415C85", languages),
                              asf_object("14E6A5CB-C672-4332-8399-A96952065B5A", stream)});
    const Bytes objects =
        join({asf_object("75B22633-668E-11CF-A6D9-00AA0062CE6C", texts),
              asf_object("8CABDCA1-A947-11CF-8EE4-00C00C205365", dated),
              asf_object("86D15240-311D-11D0-A3A4-00A0C90348F6", codecs),
              asf_object("5FBF03B5-A92E-11CF-8EE3-00C00C205365",
                         join({Bytes(18), le32(static_cast<uint32_t>(inner.size())), inner}))});
    constexpr size_t kHeaderBytes = 30;
    const Bytes size = le32(static_cast<uint32_t>(file[16] + 256u * file[17] + objects.size()));
    file.insert(file.begin() + kHeaderBytes, objects.begin(), objects.end());
    std::copy(size.begin(), size.end(), file.begin() + 16);
    file[24] = static_cast<uint8_t>(file[24] + 4);
    return file;
}

struct Row {
    const char *name;
    QuorvContainer container;
    Bytes file;
    Texts texts;
    std::vector<uint64_t> covers;
};

std::vector<Row> rows() {
    return {{"info.avi",
             QUORV_CONTAINER_AVI,
             avi_with_info(),
             {{"title", "Tr\xC3\xA4um"}, {"software", "maker 1"}, {"recorded", "2001-02-03"}},
             {}},
            {"tags.mp3",
             QUORV_CONTAINER_MPEG_AUDIO,
             mp3_with_two_tags(),
             {{"title", "\xE3\x83\x88"}, {"album", "Album"}, {"artist", "Later"}},
             {40}},
            {"described.asf",
             QUORV_CONTAINER_ASF,
             asf_with_description(),
             {{"title", "Title"},
              {"artist", "Who"},
              {"encoded", "1981-04-07 21:20:00 UTC"},
              {"video codec", "Vid"},
              {"video codec settings", "V1"}},
             {}}};
}

tool::Tags tags_of(const TestFolder &folder, const Bytes &bytes, QuorvContainer container) {
    tool::FileSource file(folder.put("file", bytes));
    return tool::read_tags(file, container);
}

TEST(Tags, AreRead) {
    const TestFolder folder;
    for (const Row &row : rows()) {
        SCOPED_TRACE(row.name);
        const tool::Tags tags = tags_of(folder, row.file, row.container);
        EXPECT_EQ(Texts(tags.texts().begin(), tags.texts().end()), row.texts);
        std::vector<uint64_t> covers;
        for (const tool::Cover &cover : tags.covers())
            covers.push_back(cover.bytes);
        EXPECT_EQ(covers, row.covers);
    }
}

TEST(Tags, TellOfTracks) {
    const TestFolder folder;
    const tool::TrackNote shown = tags_of(folder, avi_with_info(), QUORV_CONTAINER_AVI).find_note(1);
    EXPECT_EQ(std::pair(shown.aspect_width, shown.aspect_height), std::pair(16u, 9u));
    EXPECT_EQ(shown.fields, 2u);
    const tool::Tags tags = tags_of(folder, asf_with_description(), QUORV_CONTAINER_ASF);
    EXPECT_EQ(tags.find_note(2).language, "fr");
    EXPECT_EQ(tags.find_note(1).language, "");
}

// Every byte in turn is another one, and the file ends in front of it: what is found can be no more than the
// file holds, whatever sizes it claims.
TEST(Tags, OfDamagedFilesDoNoHarm) {
    const TestFolder folder;
    for (const Row &row : rows()) {
        const size_t looked_at = std::min<size_t>(row.file.size(), 650);
        for (size_t i = 0; i < looked_at; ++i) {
            Bytes broken = row.file, cut(row.file.begin(), row.file.begin() + static_cast<std::ptrdiff_t>(i));
            broken[i] = broken[i] == 0xFF ? 0x7F : 0xFF;
            for (const Bytes &bytes : {broken, cut}) {
                const tool::Tags tags = tags_of(folder, bytes, row.container);
                uint64_t found = 0;
                for (const auto &[name, words] : tags.texts())
                    found += words.size();
                for (const tool::Cover &cover : tags.covers())
                    found += cover.bytes;
                // Letters of Latin-1 become two bytes, those of 16 bits three.
                ASSERT_LE(found, 2 * bytes.size()) << row.name << " at " << i;
            }
        }
    }
}

}  // namespace
}  // namespace quorv::test
