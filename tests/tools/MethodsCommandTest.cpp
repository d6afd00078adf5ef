// tarvo methods, and --method by name. The catalogue itself is the library's (tests/calculation).
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

TEST(TarvoMethods, ListsThemAndTimesAcceptsNames) {
    using tarvo::test::runTarvo;
    const auto listed = runTarvo({"methods", "--json"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    const auto methods = nlohmann::json::parse(listed.out);
    EXPECT_EQ(methods[7]["key"], "diyanet");
    EXPECT_EQ(methods[7]["minuteOffsets"]["sunrise"], -7);
    EXPECT_EQ(methods[11]["maghrib"]["selector"], "angle");
    EXPECT_EQ(methods[16]["status"], "unchecked");
    EXPECT_NE(runTarvo({"methods"}).out.find("Status: unchecked"), std::string::npos);

    const std::vector<std::string> place = {"times", "--lat", "41.0082", "--lon", "28.9784", "--tz", "Europe/Istanbul",
                                            "--date", "2025-03-01", "--json"};
    auto with = [&](const char* method) {
        auto args = place;
        args.insert(args.end(), {"--method", method});
        return runTarvo(args);
    };
    const auto byName = with("Diyanet");
    ASSERT_EQ(byName.status, 0) << byName.err;
    EXPECT_EQ(byName.out, with("8").out);
    EXPECT_NE(byName.out, with("3").out);
    const auto bad = with("diyanett");
    EXPECT_EQ(bad.status, 2);
    EXPECT_NE(bad.err.find("'diyanett' is not a calculation method"), std::string::npos) << bad.err;
}
