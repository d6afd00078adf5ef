// tarvo methods, and --method by name.
#include <cstdlib>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"
#include "tarvo/calculation/CalculationMethod.h"

using tarvo::CalculationMethod;

TEST(TarvoMethods, ListsThemAndTimesAcceptsNames) {
    using tarvo::test::runTarvo;
    const auto listed = runTarvo({"methods", "--json"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    const auto methods = nlohmann::json::parse(listed.out);
    ASSERT_EQ(methods.size(), CalculationMethod::all().size());
    EXPECT_EQ(methods[7]["key"], "diyanet");
    EXPECT_EQ(methods[7]["minuteOffsets"]["sunrise"], -7);
    EXPECT_EQ(methods[7]["status"], "checked");
    EXPECT_EQ(methods[0]["status"], "original");
    EXPECT_EQ(methods[11]["maghrib"]["selector"], "angle");
    EXPECT_EQ(methods[11]["midnight"], "jafari");
    EXPECT_EQ(methods[16]["status"], "unchecked");
    const auto text = runTarvo({"methods"});
    EXPECT_NE(text.out.find("Status: unchecked"), std::string::npos) << text.out;
    EXPECT_EQ(runTarvo({"methods", "--help"}).status, 0);

    const std::vector<std::string> place = {"times", "--lat", "41.0082", "--lon", "28.9784", "--tz", "Europe/Istanbul",
                                            "--date", "2025-03-01", "--asr", "1", "--json"};
    auto with = [&](const char* method) {
        auto args = place;
        args.insert(args.end(), {"--method", method});
        return runTarvo(args);
    };
    const auto byName = with("Diyanet"), byNumber = with("8");
    ASSERT_EQ(byName.status, 0) << byName.err;
    EXPECT_EQ(byName.out, byNumber.out);
    // The published Istanbul row for that day: 06:07 07:32 13:21 16:28 19:01 20:20; the
    // temkin minutes put sunrise and Maghrib within a minute of it (without them, 7 off).
    const auto day = nlohmann::json::parse(byName.out)["text"];
    const auto minutes = [](const std::string& hhmm) { return std::stoi(hhmm.substr(0, 2)) * 60 + std::stoi(hhmm.substr(3, 2)); };
    EXPECT_LE(std::abs(minutes(day[1]) - minutes("07:32")), 1) << day;
    EXPECT_LE(std::abs(minutes(day[5]) - minutes("19:01")), 1) << day;
    const auto bad = with("diyanett");
    EXPECT_EQ(bad.status, 2);
    EXPECT_NE(bad.err.find("'diyanett' is not a calculation method"), std::string::npos) << bad.err;
}
