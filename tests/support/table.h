#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// Tables of cases kept as files: tabs between columns, names in the first line, `#` before a remark.
namespace qzil::test {

class Row {
public:
    Row(std::vector<std::string> const& columns, std::string const& line) {
        std::istringstream cells(line);
        std::string cell;
        for (std::string const& column : columns) {
            std::getline(cells, cell, '\t');
            m_oCells[column] = cells ? cell : "";
        }
    }
    std::string const& operator[](std::string const& column) const { return m_oCells.at(column); }
    /// Decimal, or hexadecimal behind 0x; 0 where the cell is empty.
    int Number(std::string const& column) const {
        std::string const& cell = (*this)[column];
        return cell.empty() ? 0 : static_cast<int>(std::stol(cell, nullptr, 0));
    }
    /// The numbers of a cell, blanks between them.
    std::vector<int> Numbers(std::string const& column) const {
        std::vector<int> numbers;
        std::istringstream words((*this)[column]);
        for (std::string word; words >> word;) numbers.push_back(static_cast<int>(std::stol(word, nullptr, 0)));
        return numbers;
    }

private:
    std::map<std::string, std::string> m_oCells;
};

/// `path` is relative to the tests.
inline std::vector<Row> ReadTable(std::string const& path) {
    std::ifstream file(std::string(QZIL_SOURCE_DIR "/tests/") + path);
    std::vector<std::string> columns;
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (!columns.empty()) {
            rows.emplace_back(columns, line);
            continue;
        }
        std::istringstream names(line);
        for (std::string name; std::getline(names, name, '\t');) columns.push_back(name);
    }
    if (rows.empty()) throw std::runtime_error("no rows in " + path);
    return rows;
}

}  // namespace qzil::test
