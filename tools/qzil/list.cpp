#include "catalog/catalog.h"
#include "command.h"

#include <algorithm>
#include <cstdio>

namespace qzil::command {

namespace {

void List() {
    std::string family;
    std::size_t width = 0;
    auto const lists = {catalog::Effects(), catalog::Conversions()};
    for (auto const list : lists) {
        for (catalog::Entry const& entry : list) width = std::max(width, entry.sName.size());
    }
    for (auto const list : lists) {
        for (catalog::Entry const& entry : list) {
            if (entry.sFamily != family) {
                std::printf("%s%s\n", family.empty() ? "" : "\n", entry.sFamily.c_str());
                family = entry.sFamily;
            }
            std::printf("  %-*s  %s\n", static_cast<int>(width), entry.sName.c_str(), entry.sSummary.c_str());
        }
    }
}

}  // namespace

void AddList(CLI::App& app, int&) {
    app.add_subcommand("list", "Names all effects")->callback(List);
}

}  // namespace qzil::command
