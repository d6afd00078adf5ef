// The tool in a polar night: a missing time is null in JSON, an empty CSV field and "—" in
// text, never 00:00; --polar fills it, and a wrong name is a usage error.
#include "support/ToolHarness.h"

using tarvo::test::Args;
using tarvo::test::json;
using tarvo::test::runTarvo;

TEST(PolarCommands, MissingTimesAreNullEmptyOrDashAndPolarFillsThem) {
    const Args tromso = {"--lat", "69.6492", "--lon", "18.9553", "--tz", "Europe/Oslo", "--method", "1"};
    const auto run = [&](Args args) {
        args.insert(args.begin() + 1, tromso.begin(), tromso.end());
        return runTarvo(args, {"TZ=UTC"});
    };
    const auto none = run({"day", "--date", "2023-12-12", "--polar", "none", "--json"});
    ASSERT_EQ(none.status, 0) << none.err;
    const json prayers = json::parse(none.out)["days"][0]["prayers"];
    for (const size_t i : {1, 3, 4, 5, 7, 9}) {
        EXPECT_TRUE(prayers[i]["time"].is_null() && prayers[i]["clock"].is_null()) << i << " " << prayers[i];
    }
    EXPECT_EQ(prayers[2]["clock"], "11:38");
    const auto text = run({"day", "--date", "2023-12-12", "--polar", "none"});
    EXPECT_NE(text.out.find("Sunrise        \u2014"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("00:00"), std::string::npos) << text.out;

    const auto csv = run({"month", "--month", "2023-12", "--polar", "none", "--csv"});
    ASSERT_EQ(csv.status, 0) << csv.err;
    EXPECT_NE(csv.out.find("2023-12-12,Tuesday,29 Jumada I 1445,06:19,,11:38,,,16:43,\n"), std::string::npos) << csv.out;

    for (const char* polar : {"nearest-day", "nearest-latitude"}) {
        const auto filled = run({"day", "--date", "2023-12-12", "--polar", polar, "--json"});
        ASSERT_EQ(filled.status, 0) << filled.err;
        // The parsed document is kept: a range over a member of a temporary would outlive it.
        const json day = json::parse(filled.out);
        for (const auto& p : day["days"][0]["prayers"]) EXPECT_FALSE(p["time"].is_null()) << polar << p;
    }
    const auto wrong = run({"now", "--polar", "north"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_NE(wrong.err.find("none, nearest-day or nearest-latitude"), std::string::npos) << wrong.err;
}
