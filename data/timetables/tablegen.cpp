// Build step: turns a timetable CSV file into C++ source compiled into the library.
// Usage: tarvo_tablegen INPUT.csv OUTPUT.cpp SYMBOL FIRST-DATE LAST-DATE
// A malformed row stops the build with "INPUT.csv:LINE: reason".
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "tarvo/calculation/TimetableCsvParser.h"

int main(int argc, char** argv) {
    if (argc != 6) {
        std::cerr << "usage: tarvo_tablegen INPUT.csv OUTPUT.cpp SYMBOL FIRST-DATE LAST-DATE\n";
        return 2;
    }
    const std::string input = argv[1], output = argv[2], symbol = argv[3];
    const auto first = tarvo::TimetableCsvParser::keyForDate(argv[4]);
    const auto last = tarvo::TimetableCsvParser::keyForDate(argv[5]);
    if (!first || !last) {
        std::cerr << "tarvo_tablegen: bad date range " << argv[4] << " to " << argv[5] << "\n";
        return 2;
    }
    std::ifstream in(input, std::ios::binary);
    if (!in) {
        std::cerr << input << ": cannot read the file\n";
        return 1;
    }
    std::stringstream text;
    text << in.rdbuf();
    const auto rows = tarvo::TimetableCsvParser(*first, *last).parse(text.str());
    if (!rows) {
        // "file:line: message", the form compilers use, so editors can jump to the row.
        std::string error = rows.error().message;
        if (error.rfind("line ", 0) == 0) error = error.substr(5);
        std::cerr << input << ":" << error << "\n";
        return 1;
    }

    std::ostringstream out;
    out << "// Generated from " << input << " by tarvo_tablegen. Do not edit.\n"
        << "#include \"tarvo/calculation/FixedTimetable.h\"\n\n"
        << "namespace tarvo::generated {\n\n"
        << "namespace {\n"
        << "constexpr TimetableRow kRows[] = {\n";
    char buf[64];
    for (const auto& row : *rows) {
        out << "    {" << static_cast<long long>(row.key) << ".0, {";
        for (size_t i = 0; i < row.times.size(); ++i) {
            std::snprintf(buf, sizeof buf, "%.17g", row.times[i]);
            out << (i ? ", " : "") << buf;
        }
        out << "}},\n";
    }
    if (rows->empty()) out << "    {0.0, {}},  // placeholder: the table has no rows\n";
    out << "};\n}  // namespace\n\n"
        << "extern const FixedTimetable::CompiledData " << symbol << ";\n"
        << "const FixedTimetable::CompiledData " << symbol << "{" << static_cast<long long>(*first) << ".0, "
        << static_cast<long long>(*last) << ".0, kRows, " << rows->size() << "};\n\n"
        << "}  // namespace tarvo::generated\n";

    std::ofstream file(output, std::ios::binary | std::ios::trunc);
    file << out.str();
    if (!file) {
        std::cerr << output << ": cannot write the file\n";
        return 1;
    }
    return 0;
}
