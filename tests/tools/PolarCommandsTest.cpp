// The tool in a polar night: a missing time is null in JSON, an empty CSV field and "—" in
// text, never 00:00; --polar fills it, and a wrong name is a usage error.
#include "support/ToolHarness.h"

using namespace tarvo::test;

TEST(PolarCommands, MissingTimesAreNullEmptyOrDashAndPolarFillsThem) {
    const Args tromso = {"--lat", "69.6492", "--lon", "18.9553", "--tz", "Europe/Oslo", "--method", "1"};
    const Args night = with({"day", "--date", "2023-12-12"}, tromso);
    const json prayers = jsonOf(with(night, {"--polar", "none", "--json"}), {"TZ=UTC"})["days"][0]["prayers"];
    for (const size_t i : {1, 3, 4, 5, 7, 9}) {
        EXPECT_TRUE(prayers[i]["time"].is_null() && prayers[i]["clock"].is_null()) << i << " " << prayers[i];
    }
    EXPECT_EQ(prayers[2]["clock"], "11:38");
    const std::string text = outputOf(with(night, {"--polar", "none"}), {"TZ=UTC"});
    EXPECT_THAT(text, HasSubstr("Sunrise        \u2014"));
    EXPECT_THAT(text, Not(HasSubstr("00:00")));
    EXPECT_THAT(outputOf(with({"month", "--month", "2023-12", "--polar", "none", "--csv"}, tromso), {"TZ=UTC"}),
                HasSubstr("2023-12-12,Tuesday,29 Jumada I 1445,06:19,,11:38,,,16:43,\n"));

    for (const char* polar : {"nearest-day", "nearest-latitude"}) {
        // The parsed document is kept: a range over a member of a temporary would outlive it.
        const json day = jsonOf(with(night, {"--polar", polar, "--json"}), {"TZ=UTC"});
        for (const auto& p : day["days"][0]["prayers"]) EXPECT_FALSE(p["time"].is_null()) << polar << p;
    }
    EXPECT_TRUE(refuses(2, with({"now", "--polar", "north"}, tromso), "none, nearest-day or nearest-latitude"));
}
