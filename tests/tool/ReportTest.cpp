// quorv report: a page that stands alone, is small, marks damage, and shows hostile texts as texts.

#include "tool/Shell.h"

namespace quorv::test {
namespace {

size_t count_of(const std::string &text, const std::string &part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

TEST(Report, StandsAloneAndDrawsEachTrack) {
    const Shell shell;
    const ToolRun run = shell.run("quorv report $SAMPLE -o -");
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_TRUE(run.out.starts_with("<!DOCTYPE html>"));
    for (const std::string part : {"<script", "http", "src=", "url(", "@import", "class=\"damage\""})
        EXPECT_EQ(count_of(run.out, part), 0u) << part;
    EXPECT_EQ(count_of(run.out, "<svg"), 5u);  // rate, sizes of both tracks, key frames, places
    EXPECT_EQ(count_of(run.out, ">Key frame at 0:00:"), 3u);
    // Each mark but the lines of the grid has a title.
    EXPECT_GT(count_of(run.out, "<title>"), 100u);
    shell.put("page", text(run.out));
    EXPECT_EQ(shell.run("command -v xmllint >/dev/null || exit 0; tail -n +2 page | xmllint --html --noout -")
                  .exit_code,
              0);
}

TEST(Report, MarksDamageAndEscapesNames) {
    const Shell shell;
    Bytes file = bytes_of_file(real_sample());
    std::fill_n(file.begin() + 30000, 2000, uint8_t{0});
    const std::string name = "<img src=x onerror=alert(1)>&\"'.avi";
    shell.put(name, file);
    shell.put("b.avi", join({file}));
    const ToolRun run = shell.run("quorv report ./*img* -o -");
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(count_of(run.out, "<img"), 0u);
    EXPECT_GT(count_of(run.out, "&lt;img src=x onerror=alert(1)&gt;&amp;&quot;&#39;.avi"), 1u);
    EXPECT_GT(count_of(run.out, "<path class=\"damage\""), 3u);
    EXPECT_EQ(count_of(run.out, "verdict damaged"), 1u);
}

// Ten hours at 25 frames a second.
TEST(Report, OfTenHoursIsSmall) {
    const Shell shell;
    AviBuilder builder({video_stream(tag("MJPG"))});
    for (size_t i = 0; i < 900000; ++i)
        builder.frame(0, Bytes{uint8_t{0xFF}});
    shell.put("long.avi", builder.build().flatten());
    const ToolRun run = shell.run("quorv report long.avi -o page.html");
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_LT(shell.get("page.html").size(), 1000000u);
    EXPECT_GT(shell.get("page.html").size(), 30000u);
    shell.expect_complaint({"quorv report missing -o page.html", 3, "missing", "No such file"});
    EXPECT_GT(shell.get("page.html").size(), 30000u);
}

}  // namespace
}  // namespace quorv::test
