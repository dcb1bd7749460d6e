/// @file
/// Files of scenarios: titles "== Name", and the lines under each.
#ifndef TESTS_SCENARIOS_H
#define TESTS_SCENARIOS_H

#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <string>
#include <vector>

struct Scenario {
    std::string file;
    std::string name;
    std::vector<std::string> lines;  ///< comments and empty ones included
};

inline std::ostream &operator<<(std::ostream &out, const Scenario &scenario) {
    return out << scenario.name;
}

inline std::vector<Scenario> LoadScenarios(const std::string &file) {
    std::vector<Scenario> scenarios;
    std::ifstream input(file);
    for (std::string line; std::getline(input, line);) {
        if (line.compare(0, 3, "== ") == 0)
            scenarios.push_back({file, line.substr(3), {}});
        else if (!scenarios.empty())
            scenarios.back().lines.push_back(line);
    }
    return scenarios;
}

/// For INSTANTIATE_TEST_SUITE_P.
inline std::string ScenarioName(const testing::TestParamInfo<Scenario> &info) {
    return info.param.name;
}

#endif
