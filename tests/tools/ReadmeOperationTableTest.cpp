#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "brivane/operations.h"

namespace brivane {
namespace {

using cli::Operation;

std::vector<std::string> splitCells(const std::string& row) {
  std::vector<std::string> cells;
  std::string cell;
  // From 1: the leading "|" opens no cell.
  for (std::size_t i = 1; i < row.size(); ++i) {
    if (row[i] == '\\' && i + 1 < row.size() && row[i + 1] == '|') {  // "\|": a "|" inside a cell
      cell += row[++i];
    } else if (row[i] == '|') {
      const auto first = cell.find_first_not_of(' ');
      const auto last = cell.find_last_not_of(' ');
      cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
      cell.clear();
    } else if (row[i] != '`') {
      cell += row[i];
    }
  }
  return cells;
}

// Compares the README's table of `brivane call` operations (FAMILY | OPERATION | arguments) with
// the tool's operation table; one line per difference.
std::vector<std::string> tableProblems(const std::string& readme, const std::vector<Operation>& operations) {
  std::vector<std::string> problems;
  std::istringstream in(readme);
  std::string line;
  bool inSection = false, inTable = false;
  std::map<std::string, std::string> rows;  // "family operation" → arguments cell
  while (std::getline(in, line)) {
    if (line.starts_with("### ")) inSection = line.starts_with("### `brivane call");
    if (!inSection) continue;
    if (!line.starts_with("|")) {
      if (inTable) break;  // the table has ended
      continue;
    }
    inTable = true;
    std::vector<std::string> cells = splitCells(line);
    if (cells.size() != 3) {
      problems.push_back("row without three cells: " + line);
      continue;
    }
    if (cells[0] == "FAMILY" || cells[0].starts_with("---")) continue;
    const std::string key = cells[0] + " " + cells[1];
    if (!rows.emplace(key, cells[2]).second) problems.push_back("row twice: " + key);
  }
  std::set<std::string> known;
  for (const Operation& operation : operations) {
    const std::string key = operation.family + " " + operation.name;
    known.insert(key);
    auto row = rows.find(key);
    if (row == rows.end()) {
      problems.push_back("no row for " + key);
      continue;
    }
    std::vector<std::string> names;
    bool listsSet = false;
    std::istringstream tokens(row->second);
    std::string token;
    while (tokens >> token) {
      if (!token.starts_with("--")) continue;
      std::string value;
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
  return problems;
}

std::string readReadme() {
  std::ifstream file(BRIVANE_README_PATH);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(ReadmeOperationTable, ListsEveryOperationWithItsArguments) {
  const std::string readme = readReadme();
  ASSERT_NE(readme.find("### `brivane call"), std::string::npos);
  EXPECT_THAT(tableProblems(readme, cli::operations()), ::testing::IsEmpty());
}

}  // namespace
}  // namespace brivane
