#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "brivane/operations.h"

namespace brivane {
namespace {

// The README's table of `brivane call` operations (FAMILY | OPERATION | arguments) has one row per
// operation of the tool, with its arguments in order and only fields its request has.
TEST(ReadmeOperationTable, ListsEveryOperationWithItsArguments) {
  std::ifstream readme(BRIVANE_README_PATH);
  std::vector<std::string> problems;
  std::map<std::string, std::string> rows;  // "family operation" → arguments cell
  bool inSection = false, inTable = false;
  for (std::string line; std::getline(readme, line);) {
    if (line.starts_with("### ")) inSection = line.starts_with("### `brivane call");
    if (!inSection) continue;
    if (!line.starts_with("|")) {
      if (inTable) break;  // the table has ended
      continue;
    }
    inTable = true;
    std::vector<std::string> cells{""};  // "\|" is a "|" inside a cell; backticks are dropped
    for (std::size_t i = 1; i < line.size(); ++i) {
      if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '|') {
        cells.back() += line[++i];
      } else if (line[i] == '|') {
        cells.back().erase(0, cells.back().find_first_not_of(' '));
        cells.back().erase(cells.back().find_last_not_of(' ') + 1);
        cells.emplace_back();
      } else if (line[i] != '`') {
        cells.back() += line[i];
      }
    }
    cells.pop_back();  // what follows the last "|"
    if (cells.size() != 3) {
      problems.push_back("row without three cells: " + line);
    } else if (cells[0] != "FAMILY" && !cells[0].starts_with("---") &&
               !rows.emplace(cells[0] + " " + cells[1], cells[2]).second) {
      problems.push_back("row twice: " + cells[0] + " " + cells[1]);
    }
  }
  ASSERT_TRUE(inTable) << "no table under \"### `brivane call\"";
  std::set<std::string> known;
  for (const cli::Operation& operation : cli::operations()) {
    const std::string key = operation.family + " " + operation.name;
    known.insert(key);
    if (!rows.contains(key)) {
      problems.push_back("no row for " + key);
      continue;
    }
    std::vector<std::string> names;
    bool listsSet = false;
    std::istringstream tokens(rows[key]);
    for (std::string token, value; tokens >> token;) {
      if (!token.starts_with("--")) continue;
      tokens >> value;
      if (token != "--set") {
        names.push_back(token.substr(2));
        continue;
      }
      listsSet = true;
      const std::string field = value.substr(0, value.find('='));
      if (std::find(operation.fieldNames.begin(), operation.fieldNames.end(), field) ==
          operation.fieldNames.end())
        problems.push_back(key + ": no field " + field);
    }
    if (names != operation.argumentNames) problems.push_back(key + ": arguments differ");
    if (listsSet != !operation.fieldNames.empty())
      problems.push_back(key + (listsSet ? ": lists --set but has no fields" : ": takes --set FIELD=VALUE"));
  }
  for (const auto& [key, arguments] : rows)
    if (!known.contains(key)) problems.push_back("row for no operation: " + key);
  EXPECT_THAT(problems, ::testing::IsEmpty());
}

}  // namespace
}  // namespace brivane
