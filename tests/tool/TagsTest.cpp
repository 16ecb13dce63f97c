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
    return builder.frame(0, size_t{20}).build().flatten();
}

Bytes mp3_with_two_tags() {
    const std::string picture = std::string("\0image/png\0\3\0", 13) + std::string(40, 'x');
    const Bytes first = id3_tag(join({id3_frame("TIT2", "\3\xE3\x83\x88"), id3_frame("APIC", picture)}));
    const Bytes second = id3_tag(join({id3_frame("TIT2", "\3other"), id3_frame("TALB", "\3Album")}));
    return join({first, second, Bytes(300, 0xFF)});
}

Bytes asf_with_description() {
    Bytes file = AsfBuilder({asf_audio(1)}, {}, AsfIndex::None).frame(0, 3000, 40).build();
    const auto wide = [](const std::string &words) {
        Bytes bytes;
        for (const char c : words + '\0')
            append(bytes, le16(static_cast<uint8_t>(c)));
        return bytes;
    };
    const Bytes texts = join({le16(12), le16(8), le16(0), le16(0), le16(0), wide("Title"), wide("Who")});
    const Bytes object =
        join({asf_guid("75B22633-668E-11CF-A6D9-00AA0062CE6C"), le64(24 + texts.size()), texts});
    constexpr size_t kHeaderBytes = 30;
    file.insert(file.begin() + kHeaderBytes, object.begin(), object.end());
    file[16] = static_cast<uint8_t>(file[16] + object.size());
    ++file[24];
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
             {{"title", "\xE3\x83\x88"}, {"album", "Album"}},
             {40}},
            {"described.asf",
             QUORV_CONTAINER_ASF,
             asf_with_description(),
             {{"title", "Title"}, {"artist", "Who"}},
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

// Every byte in turn is another one, and the file ends in front of it: what is found can be no more than the
// file holds, whatever sizes it claims.
TEST(Tags, OfDamagedFilesDoNoHarm) {
    const TestFolder folder;
    for (const Row &row : rows()) {
        const size_t looked_at = std::min<size_t>(row.file.size(), 450);
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
